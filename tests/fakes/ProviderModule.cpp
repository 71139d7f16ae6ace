#include "fakes/ProviderModule.h"

#include <stdexcept>

#include "Os/Windows/ComScope.h"
#include "adapters/wmi/ProviderIdentity.h"
#include "fakes/FakeBroker.h"
#include "support/CapturedModules.h"

namespace support {

ProviderModule::ProviderModule() : m_module(LoadLibraryA("ZerixDRAVEv2Provider.dll"))
{
    if (m_module == nullptr) {
        throw std::runtime_error("cannot load the provider: error " + std::to_string(GetLastError()));
    }
}

ProviderModule::~ProviderModule()
{
    m_broker.reset();
    if (m_captured) {
        releaseModule(m_module);
    }
    FreeLibrary(m_module);
}

FARPROC ProviderModule::find(const char* name) const
{
    const FARPROC function = GetProcAddress(m_module, name);
    if (function == nullptr) {
        throw std::runtime_error(std::string("the provider does not export ") + name);
    }
    return function;
}

HRESULT ProviderModule::classObject(REFCLSID clsid, REFIID riid, void** object) const
{
    using Function = HRESULT(WINAPI*)(REFCLSID, REFIID, void**);
    return reinterpret_cast<Function>(reinterpret_cast<void*>(find("DllGetClassObject")))(clsid, riid, object);
}

HRESULT ProviderModule::canUnloadNow() const
{
    using Function = HRESULT(WINAPI*)();
    return reinterpret_cast<Function>(reinterpret_cast<void*>(find("DllCanUnloadNow")))();
}

HRESULT ProviderModule::registerServer() const
{
    using Function = HRESULT(WINAPI*)();
    return reinterpret_cast<Function>(reinterpret_cast<void*>(find("DllRegisterServer")))();
}

HRESULT ProviderModule::unregisterServer() const
{
    using Function = HRESULT(WINAPI*)();
    return reinterpret_cast<Function>(reinterpret_cast<void*>(find("DllUnregisterServer")))();
}

void ProviderModule::useTheTestsBroker()
{
    m_broker.emplace(m_module, &brokerInUse, &findInstance);
}

void ProviderModule::captureLog()
{
    captureModule(m_module);
    m_captured = true;
}

IWbemServices* ProviderModule::createProvider() const
{
    utils::ComReference<IClassFactory> factory;
    if (FAILED(classObject(identity::PROVIDER_CLSID, IID_IClassFactory, reinterpret_cast<void**>(factory.out())))) {
        throw std::runtime_error("the provider gives no factory");
    }
    IWbemServices* provider = nullptr;
    if (FAILED(factory->CreateInstance(nullptr, IID_IWbemServices, reinterpret_cast<void**>(&provider)))) {
        throw std::runtime_error("the factory makes no provider");
    }
    return provider;
}

}  // namespace support
