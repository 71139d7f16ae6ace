#include "wmihost/com/RefusingServices.h"

#include "wmihost/com/Guard.h"

namespace wmihost {
namespace {

constexpr HRESULT refused = code(WBEM_E_NOT_SUPPORTED);

}  // namespace

HRESULT RefusingServices::OpenNamespace(BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**)
{
    return refused;
}

HRESULT RefusingServices::CancelAsyncCall(IWbemObjectSink*)
{
    return refused;
}

HRESULT RefusingServices::QueryObjectSink(LONG, IWbemObjectSink**)
{
    return refused;
}

HRESULT RefusingServices::GetObjectAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return refused;
}

HRESULT RefusingServices::PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
{
    return refused;
}

HRESULT RefusingServices::PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
{
    return refused;
}

HRESULT RefusingServices::DeleteClass(BSTR, LONG, IWbemContext*, IWbemCallResult**)
{
    return refused;
}

HRESULT RefusingServices::DeleteClassAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return refused;
}

HRESULT RefusingServices::CreateClassEnum(BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
{
    return refused;
}

HRESULT RefusingServices::CreateClassEnumAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return refused;
}

HRESULT RefusingServices::PutInstance(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
{
    return refused;
}

HRESULT RefusingServices::PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
{
    return refused;
}

HRESULT RefusingServices::DeleteInstance(BSTR, LONG, IWbemContext*, IWbemCallResult**)
{
    return refused;
}

HRESULT RefusingServices::DeleteInstanceAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return refused;
}

HRESULT RefusingServices::CreateInstanceEnum(BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
{
    return refused;
}

HRESULT RefusingServices::CreateInstanceEnumAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return refused;
}

HRESULT RefusingServices::ExecQuery(BSTR, BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
{
    return refused;
}

HRESULT RefusingServices::ExecQueryAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return refused;
}

HRESULT RefusingServices::ExecNotificationQuery(BSTR, BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
{
    return refused;
}

HRESULT RefusingServices::ExecNotificationQueryAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return refused;
}

HRESULT RefusingServices::ExecMethod(BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemClassObject**,
                                     IWbemCallResult**)
{
    return refused;
}

HRESULT RefusingServices::ExecMethodAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemObjectSink*)
{
    return refused;
}

HRESULT RefusingServices::GetObject(BSTR, LONG, IWbemContext*, IWbemClassObject**, IWbemCallResult**)
{
    return refused;
}

}  // namespace wmihost
