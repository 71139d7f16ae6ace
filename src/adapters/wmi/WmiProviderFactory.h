#pragma once

#include <atomic>
#include <cstdint>

#include "Os/Windows/Platform.h"

// Makes provider objects for COM. Any thread. A live factory does not keep the module loaded; locking the server does.
class WmiProviderFactory : public IClassFactory
{
public:
    // Starts with no reference: the first one comes from QueryInterface.
    WmiProviderFactory();
    WmiProviderFactory(const WmiProviderFactory&) = delete;
    WmiProviderFactory& operator=(const WmiProviderFactory&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppv) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) override;
    virtual ~WmiProviderFactory();

private:
    std::atomic<std::int32_t> m_refCount{0};
};
