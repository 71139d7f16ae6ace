#include "adapters/wmi/ServerState.h"

#include <new>

#include "Utils/Log.h"
#include "Utils/ProductVersion.h"
#include "adapters/wmi/ProviderIdentity.h"
#include "adapters/wmi/WmiProviderFactory.h"

namespace server {

HINSTANCE moduleHandle = nullptr;
std::atomic<std::int32_t> objectCount{0};
std::atomic<std::int32_t> lockCount{0};

}  // namespace server

// Thread notifications stay on: their one line shows an engineer which threads come and go.
extern "C" BOOL WINAPI DllMain(HINSTANCE hinst, DWORD reason, LPVOID /*reserved*/)
{
    static constexpr utils::LogSite here{"WmiAdapter", "DllMain"};
    here.debug("DllMain %d", reason);
    if (reason != DLL_PROCESS_ATTACH) {
        return TRUE;
    }
    server::moduleHandle = hinst;
    here.debug(identity::DESCRIPTION);
    here.debug("Version: %s", utils::PRODUCT_VERSION);
    here.debug("Date: %s", identity::BUILD_DATE);
    return TRUE;
}

extern "C" HRESULT WINAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv)
{
    if (!IsEqualCLSID(rclsid, identity::PROVIDER_CLSID)) {
        // Not CLASS_E_CLASSNOTAVAILABLE: installers test for this general code.
        return E_FAIL;
    }
    auto* factory = new (std::nothrow) WmiProviderFactory;
    if (factory == nullptr) {
        return E_OUTOFMEMORY;
    }
    const HRESULT hr = factory->QueryInterface(riid, ppv);
    if (FAILED(hr)) {
        delete factory;
    }
    return hr;
}

extern "C" HRESULT WINAPI DllCanUnloadNow()
{
    static constexpr utils::LogSite here{"WmiAdapter", "DllCanUnloadNow"};
    here.debug("DllCanUnloadNow");
    if (server::objectCount == 0 && server::lockCount == 0) {
        here.debug("DllCanUnloadNow result: S_OK");
        return S_OK;
    }
    here.debug("DllCanUnloadNow result: S_FALSE");
    return S_FALSE;
}
