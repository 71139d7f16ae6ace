#pragma once

#include "wmihost/com/Com.h"

namespace wmihost {

// An IWbemServices that answers every request with WBEM_E_NOT_SUPPORTED and touches no argument. Derived classes
// override the requests that they serve.
class RefusingServices : public ComObject<IWbemServices>
{
public:
    HRESULT STDMETHODCALLTYPE OpenNamespace(BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**) override;
    HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink*) override;
    HRESULT STDMETHODCALLTYPE QueryObjectSink(LONG, IWbemObjectSink**) override;
    HRESULT STDMETHODCALLTYPE GetObject(BSTR, LONG, IWbemContext*, IWbemClassObject**, IWbemCallResult**) override;
    HRESULT STDMETHODCALLTYPE GetObjectAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*) override;
    HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override;
    HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override;
    HRESULT STDMETHODCALLTYPE DeleteClass(BSTR, LONG, IWbemContext*, IWbemCallResult**) override;
    HRESULT STDMETHODCALLTYPE DeleteClassAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*) override;
    HRESULT STDMETHODCALLTYPE CreateClassEnum(BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override;
    HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*) override;
    HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override;
    HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override;
    HRESULT STDMETHODCALLTYPE DeleteInstance(BSTR, LONG, IWbemContext*, IWbemCallResult**) override;
    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*) override;
    HRESULT STDMETHODCALLTYPE CreateInstanceEnum(BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override;
    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*) override;
    HRESULT STDMETHODCALLTYPE ExecQuery(BSTR, BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override;
    HRESULT STDMETHODCALLTYPE ExecQueryAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemObjectSink*) override;
    HRESULT STDMETHODCALLTYPE ExecNotificationQuery(BSTR, BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override;
    HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemObjectSink*) override;
    HRESULT STDMETHODCALLTYPE ExecMethod(BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemClassObject**,
                                         IWbemCallResult**) override;
    HRESULT STDMETHODCALLTYPE ExecMethodAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                              IWbemObjectSink*) override;
};

}  // namespace wmihost
