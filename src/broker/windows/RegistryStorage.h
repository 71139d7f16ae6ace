#pragma once

#include "Os/Windows/Platform.h"
#include "broker/platform/SettingsStorage.h"

namespace broker {

// Settings as REG_SZ values under HKEY_LOCAL_MACHINE\Software\Vexal\DRAVEv2. The lock is a named kernel mutex. Only
// those who may change settings can lock it: the system, administrators and network services.
class RegistryStorage : public SettingsStorage
{
public:
    std::optional<StoredValues> read(const std::string& key) override;
    std::optional<std::vector<std::string>> children(const std::string& key) override;
    bool canWrite(const std::string& key) override;
    StoreResult write(const std::string& key, const std::string& name, const std::string& text) override;
    StoreResult erase(const std::string& key) override;
    StoreResult eraseValue(const std::string& key, const std::string& name) override;
    StoreResult lock() override;
    void unlock() noexcept override;
    std::unique_ptr<ChangeWatch> watch(const std::string& key) override;

private:
    // Not null while it is locked.
    HANDLE m_lock = nullptr;
};

}  // namespace broker
