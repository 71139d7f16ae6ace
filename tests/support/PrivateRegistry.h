#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "Os/Windows/Platform.h"

namespace support {

// While it lives, HKEY_LOCAL_MACHINE of this process is a branch of the user's registry. One object at a time.
class PrivateRegistry
{
public:
    // Makes an empty branch, which the destructor deletes. Throws std::runtime_error when the platform refuses.
    PrivateRegistry() : PrivateRegistry("Software\\ZerixTest" + std::to_string(GetCurrentProcessId()))
    {
        m_isOwner = true;
    }
    // Shares the branch of another process. Throws std::runtime_error when the platform refuses.
    explicit PrivateRegistry(std::string name) : m_name(std::move(name))
    {
        if (RegCreateKeyExA(HKEY_CURRENT_USER, m_name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_root,
                            nullptr) != ERROR_SUCCESS ||
            RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_root) != ERROR_SUCCESS)
        {
            throw std::runtime_error("cannot take over HKEY_LOCAL_MACHINE");
        }
    }
    ~PrivateRegistry()
    {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(m_root);
        if (m_isOwner) {
            RegDeleteTreeA(HKEY_CURRENT_USER, m_name.c_str());
        }
    }
    PrivateRegistry(const PrivateRegistry&) = delete;
    PrivateRegistry& operator=(const PrivateRegistry&) = delete;

    // The name for another process that shares the branch.
    const std::string& name() const noexcept { return m_name; }

    // Removes everything that the product has stored.
    void clear() const { RegDeleteTreeA(m_root, SETTINGS_KEY); }

    // Stores a text below the product's key.
    void store(const std::string& key, const std::string& name, const std::string& text) const
    {
        const std::string path = std::string(SETTINGS_KEY) + "\\" + key;
        RegSetKeyValueA(m_root, path.c_str(), name.c_str(), REG_SZ, text.c_str(), static_cast<DWORD>(text.size() + 1));
    }

private:
    static constexpr const char* SETTINGS_KEY = "Software\\Vexal\\DRAVEv2";

    std::string m_name;
    HKEY m_root = nullptr;
    bool m_isOwner = false;
};

}  // namespace support
