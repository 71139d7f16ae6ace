#include "reliability/RegistrylessModule.h"

#include <string>

namespace reliability {

namespace {

support::CallLog* registryLog = nullptr;
int keysOpen = 0;

HKEY theKey()
{
    return reinterpret_cast<HKEY>(&keysOpen);
}

void open(HKEY* key)
{
    *key = theKey();
    ++keysOpen;
}

LSTATUS WINAPI createKey(HKEY, LPCSTR path, DWORD, LPSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, HKEY* key, LPDWORD)
{
    registryLog->add(std::string("create ") + path);
    open(key);
    return ERROR_SUCCESS;
}

LSTATUS WINAPI openKey(HKEY, LPCSTR path, DWORD, REGSAM, HKEY* key)
{
    registryLog->add(std::string("open ") + path);
    open(key);
    return ERROR_SUCCESS;
}

LSTATUS WINAPI setValue(HKEY, LPCSTR name, DWORD, DWORD, const BYTE* data, DWORD)
{
    registryLog->add(std::string("set ") + (name == nullptr ? "" : name) + "=" + reinterpret_cast<const char*>(data));
    return ERROR_SUCCESS;
}

LSTATUS WINAPI deleteKey(HKEY, LPCSTR child)
{
    registryLog->add(std::string("delete ") + child);
    return ERROR_SUCCESS;
}

LSTATUS WINAPI closeKey(HKEY)
{
    --keysOpen;
    return ERROR_SUCCESS;
}

}  // namespace

struct RegistrylessModule::Redirections
{
    explicit Redirections(HMODULE module)
        : create("RegCreateKeyExA", &createKey, module),
          open("RegOpenKeyExA", &openKey, module),
          set("RegSetValueExA", &setValue, module),
          remove("RegDeleteKeyA", &deleteKey, module),
          close("RegCloseKey", &closeKey, module)
    {
    }

    support::ImportHook create;
    support::ImportHook open;
    support::ImportHook set;
    support::ImportHook remove;
    support::ImportHook close;
};

RegistrylessModule::RegistrylessModule(support::CallLog& registryCalls, Broker broker)
{
    registryLog = &registryCalls;
    keysOpen = 0;
    m_redirections = std::make_unique<Redirections>(handle());
    if (broker == Broker::STAND_IN) {
        useTheTestsBroker();
    }
}

RegistrylessModule::~RegistrylessModule() = default;

int RegistrylessModule::openKeys() const noexcept
{
    return keysOpen;
}

}  // namespace reliability
