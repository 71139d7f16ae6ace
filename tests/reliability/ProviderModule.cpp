#include "reliability/ProviderModule.h"

#include <optional>
#include <stdexcept>
#include <string>

#include "adapters/wmi/ProviderIdentity.h"
#include "fakes/FakeBroker.h"

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

template <class Function>
Function* entryOf(HMODULE module, const char* name)
{
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

}  // namespace

struct ProviderModule::Redirections
{
    Redirections(HMODULE module, Broker answering)
        : create("RegCreateKeyExA", &createKey, module),
          open("RegOpenKeyExA", &openKey, module),
          set("RegSetValueExA", &setValue, module),
          remove("RegDeleteKeyA", &deleteKey, module),
          close("RegCloseKey", &closeKey, module)
    {
        if (answering == Broker::standIn) {
            broker.emplace("_ZN4core12GetCimBrokerEv", &support::brokerInUse, module);
            find.emplace("_ZN4core9CimBroker17getInstanceByPathERNS_7CimPathE", &support::findInstance, module);
        }
    }

    std::optional<support::ImportHook> broker;
    std::optional<support::ImportHook> find;
    support::ImportHook create;
    support::ImportHook open;
    support::ImportHook set;
    support::ImportHook remove;
    support::ImportHook close;
};

ProviderModule::ProviderModule(support::CallLog& registryCalls, Broker broker)
    : m_module(LoadLibraryA("ZerixDRAVEv2Provider.dll"))
{
    if (m_module == nullptr) {
        throw std::runtime_error("the provider does not load");
    }
    registryLog = &registryCalls;
    keysOpen = 0;
    m_redirections = std::make_unique<Redirections>(m_module, broker);
}

ProviderModule::~ProviderModule()
{
    m_redirections.reset();
    FreeLibrary(m_module);
}

HRESULT ProviderModule::classFactory(IClassFactory** factory) const
{
    *factory = nullptr;
    auto* const entry = entryOf<HRESULT WINAPI(REFCLSID, REFIID, LPVOID*)>(m_module, "DllGetClassObject");
    return entry(identity::PROVIDER_CLSID, IID_IClassFactory, reinterpret_cast<void**>(factory));
}

int ProviderModule::openKeys() const noexcept
{
    return keysOpen;
}

HRESULT ProviderModule::call(const char* entry) const
{
    return entryOf<HRESULT WINAPI()>(m_module, entry)();
}

}  // namespace reliability
