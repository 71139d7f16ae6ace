#include "adapters/wmi/WmiProviderFactory.h"

#include <new>

#include "Utils/Log.h"
#include "adapters/wmi/ServerState.h"
#include "adapters/wmi/WmiAdapter.h"

namespace {

constexpr const char* FILE_NAME = "WmiAdapter";

}  // namespace

WmiProviderFactory::WmiProviderFactory()
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiProviderFactory::WmiProviderFactory"};
    here.debug("Creating WmiProviderFactory");
}

WmiProviderFactory::~WmiProviderFactory()
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiProviderFactory::~WmiProviderFactory"};
    here.debug("Destroying WmiProviderFactory");
}

HRESULT WmiProviderFactory::QueryInterface(REFIID riid, void** ppv)
{
    if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_IClassFactory)) {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    *ppv = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
}

ULONG WmiProviderFactory::AddRef()
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiProviderFactory::AddRef"};
    const std::int32_t count = ++m_refCount;
    here.debug("AddRef, count is %d", count);
    return static_cast<ULONG>(count);
}

ULONG WmiProviderFactory::Release()
{
    const std::int32_t count = --m_refCount;
    if (count == 0) {
        delete this;
    }
    return static_cast<ULONG>(count);
}

HRESULT WmiProviderFactory::CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppv)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiProviderFactory::CreateInstance"};
    here.debug("CreateInstance");
    *ppv = nullptr;
    if (pUnkOuter != nullptr) {
        return CLASS_E_NOAGGREGATION;
    }
    auto* provider = new (std::nothrow) WmiInstanceProvider;
    if (provider == nullptr) {
        return E_OUTOFMEMORY;
    }
    const HRESULT hr = provider->QueryInterface(riid, ppv);
    if (FAILED(hr)) {
        delete provider;
    }
    return hr;
}

HRESULT WmiProviderFactory::LockServer(BOOL fLock)
{
    static constexpr utils::LogSite here{FILE_NAME, "WmiProviderFactory::LockServer"};
    here.debug("Here");
    if (fLock) {
        ++server::lockCount;
    } else {
        --server::lockCount;
    }
    return S_OK;
}
