#include "bench/provider/Shape.h"

namespace bench {

namespace {

VARIANT makeValue(CIMTYPE type, const wchar_t* text, unsigned number, const wchar_t* large)
{
    VARIANT value{};
    switch (type) {
        case CIM_STRING:
            value.vt = VT_BSTR;
            value.bstrVal = SysAllocString(text);
            break;
        case CIM_UINT64:
            value.vt = VT_BSTR;
            value.bstrVal = SysAllocString(large);
            break;
        case CIM_UINT8:
            value.vt = VT_UI1;
            value.bVal = static_cast<BYTE>(number);
            break;
        default:
            value.vt = VT_I4;
            value.lVal = static_cast<LONG>(number);
            break;
    }
    return value;
}

}  // namespace

VARIANT valueOf(CIMTYPE type)
{
    return makeValue(type, WIDE_TEXT_VALUE, NUMBER_VALUE, WIDE_LARGE_VALUE);
}

VARIANT emptyValueOf(CIMTYPE type)
{
    return makeValue(type, L"", 0, L"0");
}

}  // namespace bench
