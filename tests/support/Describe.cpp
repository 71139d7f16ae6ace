#include "support/Describe.h"

#include <memory>
#include <vector>

#include "Os/Windows/ComScope.h"
#include "Utils/Utils.h"
#include "core/CimPropertyTypes.h"

namespace support {

namespace {

std::string inQuotes(const std::string& text)
{
    return "'" + text + "'";
}

template <class Elements, class Text>
std::string list(const Elements& elements, Text text)
{
    std::string result = "{";
    const char* separator = "";
    for (const auto& element : elements) {
        result += separator + text(element);
        separator = ", ";
    }
    return result + "}";
}

template <class Number>
std::string number(Number value)
{
    return std::to_string(value);
}

template <class Element, class Text>
std::string arrayText(SAFEARRAY* array, Text text)
{
    if (array == nullptr) {
        return "without an array";
    }
    Element* elements = nullptr;
    LONG lower = 0;
    LONG upper = -1;
    SafeArrayGetLBound(array, 1, &lower);
    SafeArrayGetUBound(array, 1, &upper);
    SafeArrayAccessData(array, reinterpret_cast<void**>(&elements));
    std::string result = lower == 0 ? "" : "from " + number(lower) + " ";
    result += list(std::vector<Element>(elements, elements + (upper - lower + 1)), text);
    SafeArrayUnaccessData(array);
    return result;
}

std::string valueText(const core::CimProperty& property)
{
    using core::CimProperty;
    switch (property.getType()) {
        case CimProperty::EPT_UINT8:
            return number(static_cast<const core::CimPropertyUint8&>(property).getValue());
        case CimProperty::EPT_UINT16:
            return number(static_cast<const core::CimPropertyUint16&>(property).getValue());
        case CimProperty::EPT_UINT16_ARR:
            return list(static_cast<const core::CimPropertyUint16_arr&>(property).getValue(), number<std::uint16_t>);
        case CimProperty::EPT_UINT32:
            return number(static_cast<const core::CimPropertyUint32&>(property).getValue());
        case CimProperty::EPT_UINT32_ARR:
            return list(static_cast<const core::CimPropertyUint32_arr&>(property).getValue(), number<std::uint32_t>);
        case CimProperty::EPT_UINT64:
            return number(static_cast<const core::CimPropertyUint64&>(property).getValue());
        case CimProperty::EPT_STRING:
            return inQuotes(static_cast<const core::CimPropertyString&>(property).getValue());
        case CimProperty::EPT_STRING_ARR:
            return list(static_cast<const core::CimPropertyString_arr&>(property).getValue(), inQuotes);
        case CimProperty::EPT_BOOL:
            return static_cast<const core::CimPropertyBool&>(property).getValue() ? "true" : "false";
        case CimProperty::EPT_DATETIME:
            return number(static_cast<const core::CimPropertyDatetime&>(property).getValue().value);
        case CimProperty::EPT_REF:
            return "to " + inQuotes(property.toString());
    }
    return "of an unknown type";
}

std::string typeName(core::CimProperty::EPropertyType type)
{
    using core::CimProperty;
    switch (type) {
        case CimProperty::EPT_UINT8:
            return "uint8";
        case CimProperty::EPT_UINT16:
            return "uint16";
        case CimProperty::EPT_UINT16_ARR:
            return "uint16[]";
        case CimProperty::EPT_UINT32:
            return "uint32";
        case CimProperty::EPT_UINT32_ARR:
            return "uint32[]";
        case CimProperty::EPT_UINT64:
            return "uint64";
        case CimProperty::EPT_STRING:
            return "string";
        case CimProperty::EPT_STRING_ARR:
            return "string[]";
        case CimProperty::EPT_BOOL:
            return "boolean";
        case CimProperty::EPT_DATETIME:
            return "datetime";
        case CimProperty::EPT_REF:
            return "ref";
    }
    return "type " + number(static_cast<int>(type));
}

}  // namespace

std::string describe(const VARIANT& value)
{
    switch (value.vt) {
        case VT_EMPTY:
            return "VT_EMPTY";
        case VT_NULL:
            return "VT_NULL";
        case VT_UI1:
            return "VT_UI1 " + number(value.bVal);
        case VT_I4:
            return "VT_I4 " + number(value.lVal);
        case VT_BOOL:
            return "VT_BOOL " + number(value.boolVal);
        case VT_BSTR:
            return "VT_BSTR " + inQuotes(utils::narrowBstr(value.bstrVal));
        case VT_ARRAY | VT_I4:
            return "VT_ARRAY|VT_I4 " + arrayText<LONG>(value.parray, number<LONG>);
        case VT_ARRAY | VT_BSTR:
            return "VT_ARRAY|VT_BSTR " +
                   arrayText<BSTR>(value.parray, [](BSTR text) { return inQuotes(utils::narrowBstr(text)); });
        default:
            return "VARTYPE " + number(value.vt);
    }
}

std::string describeAndClear(VARIANT value)
{
    const utils::ScopedVariant owned(value);
    return describe(owned.get());
}

std::string describe(const core::CimProperty& property)
{
    return property.getName() + " = " + typeName(property.getType()) + " " +
           (property.isNull() ? "null" : valueText(property));
}

std::string describeAndDelete(core::CimProperty* property)
{
    const std::unique_ptr<core::CimProperty> owned(property);
    return owned == nullptr ? "no property" : describe(*owned);
}

std::string describe(core::CimPropertyList& properties)
{
    std::string result;
    core::CimPropertyList::Iterator iterator = properties.getIterator();
    while (const core::CimProperty* property = iterator.next()) {
        result += (result.empty() ? "" : "; ") + describe(*property);
    }
    return result;
}

}  // namespace support
