#pragma once

#include "Os/Windows/Platform.h"
#include "adapters/wmi/Status.h"

namespace wa {

// Answers every operation of IWbemServices with WBEM_E_NOT_SUPPORTED, touches nothing and logs nothing. A derived class
// overrides the operations that it serves and implements IUnknown. This class adds no field and no virtual function, so
// that the first virtual function of the derived class follows the operations.
class RefusingServices : public IWbemServices
{
public:
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
    HRESULT STDMETHODCALLTYPE GetObjectAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*) override { return refused(); }
    HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override
    {
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
    HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE DeleteInstance(BSTR, LONG, IWbemContext*, IWbemCallResult**) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnum(BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override
    {
        return refused();
    }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return refused();
    }
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
    HRESULT STDMETHODCALLTYPE ExecMethodAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                              IWbemObjectSink*) override
    {
        return refused();
    }

protected:
    static HRESULT refused() noexcept { return hresult(WBEM_E_NOT_SUPPORTED); }
};

}  // namespace wa
