#pragma once

#include <string>
#include <utility>

#include "Os/Windows/Platform.h"
#include "broker/platform/SettingsStorage.h"

namespace broker {

// Watches a key of HKEY_LOCAL_MACHINE and everything below it. The first call opens the key under its thread's
// identity. While the key does not exist or may not be opened, every answer is "changed".
class RegistryWatch final : public ChangeWatch
{
public:
    explicit RegistryWatch(std::string path) : m_path(std::move(path)) {}
    ~RegistryWatch() override { close(); }
    RegistryWatch(const RegistryWatch&) = delete;
    RegistryWatch& operator=(const RegistryWatch&) = delete;

    bool hasChanged() override;

private:
    bool isThere();
    void open();
    // Returns whether the platform will raise the event at the next change.
    bool arm();
    void close() noexcept;

    std::string m_path;
    HKEY m_key = nullptr;
    HANDLE m_event = nullptr;
};

}  // namespace broker
