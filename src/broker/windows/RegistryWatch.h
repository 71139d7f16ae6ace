#pragma once

#include <string>
#include <utility>

#include "Os/Windows/Platform.h"
#include "broker/platform/SettingsStorage.h"

namespace broker {

// Watches a key of HKEY_LOCAL_MACHINE with all that is below it. The key is opened under the identity of the thread
// that asks first. While it does not exist, or may not be opened, every answer is "changed".
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
    // Returns whether the platform promises to raise the event at the next change.
    bool arm();
    void close() noexcept;

    std::string m_path;
    HKEY m_key = nullptr;
    HANDLE m_event = nullptr;
};

}  // namespace broker
