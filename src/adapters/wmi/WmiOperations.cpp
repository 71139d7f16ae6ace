#include "adapters/wmi/WmiAdapter.h"
#include "adapters/wmi/escape/Escape.h"

// The operations as WMI calls them. What escapes a request passes the frames of these functions on its way to the host,
// so they must have nothing to clean up. Code that counts coverage would add such cleanups; tools/coverage leaves this
// file out.

HRESULT WmiInstanceProvider::Initialize(LPWSTR /*wszUser*/, LONG /*lFlags*/, LPWSTR wszNamespace, LPWSTR /*wszLocale*/,
                                        IWbemServices* pNamespace, IWbemContext* /*pCtx*/,
                                        IWbemProviderInitSink* pInitSink)
{
    return wa::leave(wa::contain([=, this] { return start(wszNamespace, pNamespace, pInitSink); }));
}

HRESULT WmiInstanceProvider::CreateInstanceEnumAsync(BSTR strClass, LONG /*lFlags*/, IWbemContext* pCtx,
                                                     IWbemObjectSink* pResponseHandler)
{
    return wa::leave(wa::contain([=, this] { return enumerate(strClass, pCtx, pResponseHandler); }));
}

HRESULT WmiInstanceProvider::GetObjectAsync(BSTR strObjectPath, LONG /*lFlags*/, IWbemContext* pCtx,
                                            IWbemObjectSink* pResponseHandler)
{
    return wa::leave(wa::contain([=, this] { return get(strObjectPath, pCtx, pResponseHandler); }));
}

HRESULT WmiInstanceProvider::PutInstanceAsync(IWbemClassObject* pInst, LONG lFlags, IWbemContext* /*pCtx*/,
                                              IWbemObjectSink* pResponseHandler)
{
    return wa::leave(wa::contain([=, this] { return put(pInst, lFlags, pResponseHandler); }));
}

HRESULT WmiInstanceProvider::DeleteInstanceAsync(BSTR strObjectPath, LONG /*lFlags*/, IWbemContext* /*pCtx*/,
                                                 IWbemObjectSink* pResponseHandler)
{
    return wa::leave(wa::contain([=, this] { return remove(strObjectPath, pResponseHandler); }));
}

HRESULT WmiInstanceProvider::ExecMethodAsync(BSTR strObjectPath, BSTR strMethodName, LONG /*lFlags*/,
                                             IWbemContext* pCtx, IWbemClassObject* pInParams,
                                             IWbemObjectSink* pResponseHandler)
{
    return wa::leave(
        wa::contain([=, this] { return execute(strObjectPath, strMethodName, pCtx, pInParams, pResponseHandler); }));
}
