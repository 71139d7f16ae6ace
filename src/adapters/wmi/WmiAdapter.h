#pragma once

#include <atomic>
#include <cstdint>

#include "Os/Windows/Platform.h"
#include "Utils/Log.h"
#include "adapters/wmi/RefusingServices.h"

// The object that WMI sends every request to. Serves five asynchronous requests and refuses all other operations. Each
// request runs on the calling thread, under the client's identity; any number of threads may call at once. What a
// request answers reaches the sink before the call returns.
//
// Its IUnknown is its IWbemProviderInit interface, not the primary one: clients compare identities by that pointer.
class WmiInstanceProvider : public wa::RefusingServices, public IWbemProviderInit
{
public:
    // Starts with no reference: the first one comes from QueryInterface. Counts as a live object of the module.
    WmiInstanceProvider() noexcept;
    WmiInstanceProvider(const WmiInstanceProvider&) = delete;
    WmiInstanceProvider& operator=(const WmiInstanceProvider&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE GetObjectAsync(BSTR strObjectPath, LONG lFlags, IWbemContext* pCtx,
                                             IWbemObjectSink* pResponseHandler) override;
    // Defined here, since its line names this header.
    HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        static constexpr utils::LogSite here{"WmiAdapter.h", "WmiInstanceProvider::PutClassAsync"};
        here.debug("Not supported");
        return refused();
    }
    HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* pInst, LONG lFlags, IWbemContext* pCtx,
                                               IWbemObjectSink* pResponseHandler) override;
    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(BSTR strObjectPath, LONG lFlags, IWbemContext* pCtx,
                                                  IWbemObjectSink* pResponseHandler) override;
    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(BSTR strClass, LONG lFlags, IWbemContext* pCtx,
                                                      IWbemObjectSink* pResponseHandler) override;
    HRESULT STDMETHODCALLTYPE ExecMethodAsync(BSTR strObjectPath, BSTR strMethodName, LONG lFlags, IWbemContext* pCtx,
                                              IWbemClassObject* pInParams, IWbemObjectSink* pResponseHandler) override;

    // Declared ahead of Initialize, so that it takes the slot behind the operations of IWbemServices.
    virtual ~WmiInstanceProvider();

    // Keeps a reference to the namespace for the object's lifetime. Succeeds in every case; a null namespace is
    // reported to the sink as WBEM_E_FAILED. A second call replaces the namespace. A null sink is skipped.
    HRESULT STDMETHODCALLTYPE Initialize(LPWSTR wszUser, LONG lFlags, LPWSTR wszNamespace, LPWSTR wszLocale,
                                         IWbemServices* pNamespace, IWbemContext* pCtx,
                                         IWbemProviderInitSink* pInitSink) override;

private:
    // The requests. What escapes one of them leaves the operation as adapters/wmi/escape/Escape.h says.
    HRESULT start(LPCWSTR wszNamespace, IWbemServices* pNamespace, IWbemProviderInitSink* pInitSink);
    HRESULT enumerate(BSTR strClass, IWbemContext* pCtx, IWbemObjectSink* pResponseHandler);
    HRESULT get(BSTR strObjectPath, IWbemContext* pCtx, IWbemObjectSink* pResponseHandler);
    HRESULT put(IWbemClassObject* pInst, LONG lFlags, IWbemObjectSink* pResponseHandler);
    HRESULT remove(BSTR strObjectPath, IWbemObjectSink* pResponseHandler);
    HRESULT execute(BSTR strObjectPath, BSTR strMethodName, IWbemContext* pCtx, IWbemClassObject* pInParams,
                    IWbemObjectSink* pResponseHandler);

    std::atomic<std::int32_t> m_refCount{0};
    // Owned reference; null until Initialize. Written before any request runs.
    IWbemServices* m_namespace = nullptr;
};
