#include "wmihost/com/EmptyContext.h"

#include <new>

#include "wmihost/com/Guard.h"

namespace wmihost {

HRESULT EmptyContext::Clone(IWbemContext** copy)
{
    if (copy == nullptr) {
        return code(WBEM_E_INVALID_PARAMETER);
    }
    *copy = new (std::nothrow) EmptyContext;
    return code(*copy == nullptr ? WBEM_E_OUT_OF_MEMORY : WBEM_S_NO_ERROR);
}

HRESULT EmptyContext::GetNames(LONG, SAFEARRAY** names)
{
    if (names == nullptr) {
        return code(WBEM_E_INVALID_PARAMETER);
    }
    *names = SafeArrayCreateVector(VT_BSTR, 0, 0);
    return code(*names == nullptr ? WBEM_E_OUT_OF_MEMORY : WBEM_S_NO_ERROR);
}

HRESULT EmptyContext::BeginEnumeration(LONG)
{
    return code(WBEM_S_NO_ERROR);
}

HRESULT EmptyContext::Next(LONG, BSTR*, VARIANT*)
{
    return code(WBEM_S_NO_MORE_DATA);
}

HRESULT EmptyContext::EndEnumeration()
{
    return code(WBEM_S_NO_ERROR);
}

HRESULT EmptyContext::SetValue(LPCWSTR, LONG, VARIANT*)
{
    return code(WBEM_E_NOT_SUPPORTED);
}

HRESULT EmptyContext::GetValue(LPCWSTR, LONG, VARIANT*)
{
    return code(WBEM_E_NOT_FOUND);
}

HRESULT EmptyContext::DeleteValue(LPCWSTR, LONG)
{
    return code(WBEM_E_NOT_FOUND);
}

HRESULT EmptyContext::DeleteAll()
{
    return code(WBEM_S_NO_ERROR);
}

}  // namespace wmihost
