#pragma once

#include <atomic>
#include <cstdint>

#include "Os/Windows/Platform.h"
#include "Utils/Log.h"
#include "adapters/wmi/Status.h"

// The object that WMI sends every request to. Serves five asynchronous requests and refuses all other operations with
// WBEM_E_NOT_SUPPORTED, without a word. Each request runs on the calling thread, under the client's identity; any
// number of threads may call at once. What a request answers reaches the sink before the call returns.
//
// Its IUnknown is its IWbemProviderInit interface, not the primary one: clients compare identities by that pointer.
class WmiInstanceProvider : public IWbemServices, public IWbemProviderInit
{
public:
    // Starts with no reference: the first one comes from QueryInterface. Counts as a live object of the module.
    WmiInstanceProvider() noexcept;
    WmiInstanceProvider(const WmiInstanceProvider&) = delete;
    WmiInstanceProvider& operator=(const WmiInstanceProvider&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    HRESULT STDMETHODCALLTYPE OpenNamespace(BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink*) override { return refused(); }
    HRESULT STDMETHODCALLTYPE QueryObjectSink(LONG, IWbemObjectSink**) override { return refused(); }
    HRESULT STDMETHODCALLTYPE GetObject(BSTR, LONG, IWbemContext*, IWbemClassObject**, IWbemCallResult**) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE GetObjectAsync(BSTR strObjectPath, LONG lFlags, IWbemContext* pCtx,
                                             IWbemObjectSink* pResponseHandler) override;
    HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        static constexpr utils::LogSite here{"WmiAdapter.h", "WmiInstanceProvider::PutClassAsync"};
        here.debug("Not supported");
        return refused();
    }
    HRESULT STDMETHODCALLTYPE DeleteClass(BSTR, LONG, IWbemContext*, IWbemCallResult**) override { return refused(); }
    HRESULT STDMETHODCALLTYPE DeleteClassAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE CreateClassEnum(BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject* pInst, LONG lFlags, IWbemContext* pCtx,
                                               IWbemObjectSink* pResponseHandler) override;
    HRESULT STDMETHODCALLTYPE DeleteInstance(BSTR, LONG, IWbemContext*, IWbemCallResult**) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(BSTR strObjectPath, LONG lFlags, IWbemContext* pCtx,
                                                  IWbemObjectSink* pResponseHandler) override;
    HRESULT STDMETHODCALLTYPE CreateInstanceEnum(BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(BSTR strClass, LONG lFlags, IWbemContext* pCtx,
                                                      IWbemObjectSink* pResponseHandler) override;
    HRESULT STDMETHODCALLTYPE ExecQuery(BSTR, BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE ExecQueryAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE ExecNotificationQuery(BSTR, BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE ExecMethod(BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemClassObject**,
                                         IWbemCallResult**) override
    {
        return refused();
    }
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
    static HRESULT refused() noexcept { return wa::hresult(WBEM_E_NOT_SUPPORTED); }

    std::atomic<std::int32_t> m_refCount{0};
    // Owned reference; null until Initialize. Written before any request runs.
    IWbemServices* m_namespace = nullptr;
};
