#include "support/Describe.h"

#include <concepts>
#include <memory>
#include <vector>

#include "Os/Windows/ComScope.h"
#include "Utils/Utils.h"
#include "core/PropertyVisit.h"
#include "support/TypeName.h"

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

std::string text(const std::string& value)
{
    return inQuotes(value);
}

std::string text(bool value)
{
    return value ? "true" : "false";
}

std::string text(utils::Time value)
{
    return number(value.value);
}

template <std::integral Number>
std::string text(Number value)
{
    return number(value);
}

template <class Element>
std::string text(const std::vector<Element>& elements)
{
    return list(elements, [](const Element& element) { return text(element); });
}

std::string valueText(const core::CimProperty& property)
{
    return core::visit(
        property,
        core::Visitor{[](const core::CimPropertyRef& reference) { return "to " + inQuotes(reference.toString()); },
                      [](const auto& typed) { return text(typed.getValue()); },
                      [](const core::CimProperty& /*unknown*/) { return std::string("of an unknown type"); }});
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
