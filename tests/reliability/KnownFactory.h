#pragma once

#include <windows.h>

#include "adapters/wmi/ProviderIdentity.h"

namespace reliability {

// While it lives, COM knows the provider's class factory in this process, so that no registration is needed.
class KnownFactory
{
public:
    KnownFactory() : m_module(LoadLibraryA("ZerixDRAVEv2Provider.dll"))
    {
        auto* const entry = reinterpret_cast<HRESULT(WINAPI*)(REFCLSID, REFIID, LPVOID*)>(
            reinterpret_cast<void*>(GetProcAddress(m_module, "DllGetClassObject")));
        IUnknown* factory = nullptr;
        entry(identity::PROVIDER_CLSID, IID_IClassFactory, reinterpret_cast<void**>(&factory));
        CoRegisterClassObject(identity::PROVIDER_CLSID, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_cookie);
        factory->Release();
    }
    ~KnownFactory() { CoRevokeClassObject(m_cookie); }
    KnownFactory(const KnownFactory&) = delete;
    KnownFactory& operator=(const KnownFactory&) = delete;

private:
    HMODULE m_module;
    DWORD m_cookie = 0;
};

}  // namespace reliability
