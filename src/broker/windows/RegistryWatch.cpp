#include "broker/windows/RegistryWatch.h"

#include "Os/Windows/WindowsRegistry.h"

namespace broker {

bool RegistryWatch::hasChanged()
{
    if (m_key != nullptr) {
        if (WaitForSingleObject(m_event, 0) == WAIT_TIMEOUT && isThere()) {
            return false;
        }
        if (arm()) {
            return true;
        }
        // The key was deleted. A new key may have its name.
        close();
    }
    open();
    return true;
}

// Not every platform raises the event when the key itself is deleted.
bool RegistryWatch::isThere()
{
    return utils::WindowsRegistry::getInstance()->queryInfoKey(m_key, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                               nullptr, nullptr, nullptr, nullptr, nullptr,
                                                               nullptr) == ERROR_SUCCESS;
}

void RegistryWatch::open()
{
    HKEY key = nullptr;
    if (utils::WindowsRegistry::getInstance()->openKey(HKEY_LOCAL_MACHINE, m_path.c_str(), 0, KEY_NOTIFY, &key) !=
        ERROR_SUCCESS)
    {
        return;
    }
    m_key = key;
    m_event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    if (m_event == nullptr || !arm()) {
        close();
    }
}

bool RegistryWatch::arm()
{
    constexpr DWORD CHANGES = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET;
    // The platform also raises the event when the calling thread ends, which only costs an unnecessary reading.
    return RegNotifyChangeKeyValue(m_key, TRUE, CHANGES, m_event, TRUE) == ERROR_SUCCESS;
}

void RegistryWatch::close() noexcept
{
    // A key of this machine is a kernel handle and can be closed as one. The registry's functions must not be called
    // while the module is being unloaded.
    if (m_key != nullptr) {
        CloseHandle(m_key);
        m_key = nullptr;
    }
    if (m_event != nullptr) {
        CloseHandle(m_event);
        m_event = nullptr;
    }
}

}  // namespace broker
