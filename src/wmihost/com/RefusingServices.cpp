#include "wmihost/com/RefusingServices.h"

#include "wmihost/com/Guard.h"

namespace wmihost {
namespace {

constexpr HRESULT REFUSED = code(WBEM_E_NOT_SUPPORTED);

}  // namespace

HRESULT RefusingServices::OpenNamespace(BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**)
{
    return REFUSED;
}

HRESULT RefusingServices::CancelAsyncCall(IWbemObjectSink*)
{
    return REFUSED;
}

HRESULT RefusingServices::QueryObjectSink(LONG, IWbemObjectSink**)
{
    return REFUSED;
}

HRESULT RefusingServices::GetObjectAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return REFUSED;
}

HRESULT RefusingServices::PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
{
    return REFUSED;
}

HRESULT RefusingServices::PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
{
    return REFUSED;
}

HRESULT RefusingServices::DeleteClass(BSTR, LONG, IWbemContext*, IWbemCallResult**)
{
    return REFUSED;
}

HRESULT RefusingServices::DeleteClassAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return REFUSED;
}

HRESULT RefusingServices::CreateClassEnum(BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
{
    return REFUSED;
}

HRESULT RefusingServices::CreateClassEnumAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return REFUSED;
}

HRESULT RefusingServices::PutInstance(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
{
    return REFUSED;
}

HRESULT RefusingServices::PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
{
    return REFUSED;
}

HRESULT RefusingServices::DeleteInstance(BSTR, LONG, IWbemContext*, IWbemCallResult**)
{
    return REFUSED;
}

HRESULT RefusingServices::DeleteInstanceAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return REFUSED;
}

HRESULT RefusingServices::CreateInstanceEnum(BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
{
    return REFUSED;
}

HRESULT RefusingServices::CreateInstanceEnumAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return REFUSED;
}

HRESULT RefusingServices::ExecQuery(BSTR, BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
{
    return REFUSED;
}

HRESULT RefusingServices::ExecQueryAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return REFUSED;
}

HRESULT RefusingServices::ExecNotificationQuery(BSTR, BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
{
    return REFUSED;
}

HRESULT RefusingServices::ExecNotificationQueryAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemObjectSink*)
{
    return REFUSED;
}

HRESULT RefusingServices::ExecMethod(BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemClassObject**,
                                     IWbemCallResult**)
{
    return REFUSED;
}

HRESULT RefusingServices::ExecMethodAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemObjectSink*)
{
    return REFUSED;
}

HRESULT RefusingServices::GetObject(BSTR, LONG, IWbemContext*, IWbemClassObject**, IWbemCallResult**)
{
    return REFUSED;
}

}  // namespace wmihost
