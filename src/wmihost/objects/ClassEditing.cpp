#include "wmihost/objects/ClassEditing.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "wmihost/com/Guard.h"
#include "wmihost/objects/PropertyValues.h"
#include "wmihost/objects/SystemProperties.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

bool isLetter(wchar_t c)
{
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c >= 0x80;
}

bool isNameCharacter(wchar_t c)
{
    return isLetter(c) || (c >= L'0' && c <= L'9') || c == L'_';
}

// A new derived class has no name. It can be set once.
HRESULT putClassName(ClassDefinition& definition, std::wstring_view property, const VARIANT& value)
{
    if (!isSystemProperty(property)) {
        return code(WBEM_E_NOT_FOUND);
    }
    if (!sameName(property, L"__CLASS") || !definition.name.empty() || value.vt != VT_BSTR) {
        return code(WBEM_E_READ_ONLY);
    }
    if (!isUserName(viewOf(value.bstrVal))) {
        return code(WBEM_E_INVALID_PARAMETER);
    }
    definition.name = viewOf(value.bstrVal);
    for (Property& member : definition.properties) {
        if (member.origin.empty()) {
            member.origin = definition.name;
        }
    }
    return code(WBEM_S_NO_ERROR);
}

Property newProperty(const ClassDefinition& definition, std::wstring_view name, CIMTYPE type)
{
    Property added;
    added.name = name;
    added.type = type;
    added.origin = definition.name;
    added.qualifiers = standardQualifiers(type, L"");
    return added;
}

}  // namespace

bool isUserName(std::wstring_view name)
{
    return !name.empty() && isLetter(name.front()) && name.back() != L'_' &&
           std::all_of(name.begin(), name.end(), isNameCharacter);
}

HRESULT putToClass(ClassDefinition& definition, std::wstring_view name, const VARIANT& value, CIMTYPE type)
{
    if (isSystemName(name)) {
        return putClassName(definition, name, value);
    }
    const int place = definition.indexOf(name);
    if (place < 0) {
        if (!isUserName(name)) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        // A reference needs a class, and only MOF can name it.
        if (!isCimType(type) || elementTypeOf(type) == CIM_REFERENCE) {
            return code(WBEM_E_INVALID_PROPERTY_TYPE);
        }
        definition.properties.push_back(newProperty(definition, name, type));
    }
    Property& property =
        place < 0 ? definition.properties.back() : definition.properties[static_cast<std::size_t>(place)];
    auto stored = type == 0 || type == property.type ? storedValue(property, value) : std::nullopt;
    if (!stored) {
        return code(WBEM_E_TYPE_MISMATCH);
    }
    if (!property.local) {
        property.overridden = std::make_shared<const Property>(property);
        property.local = true;
    }
    property.defaultValue = std::move(*stored);
    return code(WBEM_S_NO_ERROR);
}

HRESULT deleteFromClass(ClassDefinition& definition, std::wstring_view name)
{
    const int place = definition.indexOf(name);
    if (place < 0) {
        return code(WBEM_E_NOT_FOUND);
    }
    Property& property = definition.properties[static_cast<std::size_t>(place)];
    if (!property.local) {
        return code(WBEM_E_PROPAGATED_PROPERTY);
    }
    if (const auto inherited = property.overridden) {
        property = *inherited;
        return code(WBEM_S_RESET_TO_DEFAULT);
    }
    definition.properties.erase(definition.properties.begin() + place);
    return code(WBEM_S_NO_ERROR);
}

}  // namespace wmihost
