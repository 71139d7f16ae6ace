#pragma once

#include "Os/Windows/Platform.h"
#include "adapters/wmi/ProviderIdentity.h"

namespace support {

// While it lives, COM knows the class factory of the built provider in this process, so that no registration is needed.
// The provider stays loaded.
class KnownFactory
{
public:
    KnownFactory()
    {
        const HMODULE module = LoadLibraryA("ZerixDRAVEv2Provider.dll");
        const auto entry =
            reinterpret_cast<LPFNGETCLASSOBJECT>(reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
        IUnknown* factory = nullptr;
        entry(identity::PROVIDER_CLSID, IID_IClassFactory, reinterpret_cast<void**>(&factory));
        CoRegisterClassObject(identity::PROVIDER_CLSID, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_cookie);
        factory->Release();
    }
    ~KnownFactory() { CoRevokeClassObject(m_cookie); }
    KnownFactory(const KnownFactory&) = delete;
    KnownFactory& operator=(const KnownFactory&) = delete;

private:
    DWORD m_cookie = 0;
};

}  // namespace support
