#include "wmihost/mof/MofText.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

// Whether the type already implies the qualifier, which is then not written.
bool isImplied(const Qualifier& qualifier)
{
    return sameName(qualifier.name, L"CIMTYPE");
}

std::wstring flavorText(long flavor)
{
    std::wstring text;
    if ((flavor & WBEM_FLAVOR_NOT_OVERRIDABLE) != 0) {
        text += L" DisableOverride";
    }
    if ((flavor & WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE) != 0) {
        text += L" ToInstance";
    }
    if ((flavor & WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS) != 0) {
        text += L" ToSubclass";
    }
    if ((flavor & WBEM_FLAVOR_AMENDED) != 0) {
        text += L" Amended";
    }
    return text.empty() ? text : L" :" + text;
}

std::wstring qualifierText(const Qualifier& qualifier, bool withFlavors)
{
    std::wstring text = qualifier.name;
    const bool plainTrue = qualifier.value.type() == VT_BOOL && qualifier.value.get().boolVal != VARIANT_FALSE;
    if (qualifier.value.isArray()) {
        text += mofLiteral(qualifier.value.get(), qualifier.type);
    } else if (!plainTrue) {
        text += L"(" + mofLiteral(qualifier.value.get(), qualifier.type) + L")";
    }
    return withFlavors ? text + flavorText(qualifier.flavor) : text;
}

// Returns the qualifiers as MOF, such as "[key, read]", and appends `behind`. Returns an empty text if every qualifier
// is inherited or implied.
std::wstring qualifiersText(const Qualifiers& qualifiers, bool withFlavors, const wchar_t* behind)
{
    std::wstring text;
    for (const Qualifier& qualifier : qualifiers) {
        const bool inherited = (qualifier.flavor & WBEM_FLAVOR_ORIGIN_PROPAGATED) != 0;
        if (!isImplied(qualifier) && !inherited) {
            text += (text.empty() ? L"[" : L", ") + qualifierText(qualifier, withFlavors);
        }
    }
    return text.empty() ? text : text + L"]" + behind;
}

std::wstring declarator(const Property& property)
{
    return typeText(property) + L" " + property.name + (isArray(property.type) ? L"[]" : L"");
}

// " = 5" for a property or parameter that has a default, or that takes away the one that it inherits.
std::wstring defaultText(const Property& property)
{
    const bool hidesDefault = property.overridden && !property.overridden->defaultValue.isNull();
    if (property.defaultValue.isNull() && !hidesDefault) {
        return {};
    }
    return L" = " + mofLiteral(property.defaultValue.get(), property.type);
}

long parameterId(const Property& parameter)
{
    const Qualifier* id = findQualifier(parameter.qualifiers, L"ID");
    return id == nullptr ? 0 : id->value.get().lVal;
}

// Inputs and outputs in the order of their IDs. A parameter that is both is in both signatures.
std::vector<const Property*> parametersOf(const Method& method)
{
    std::vector<const Property*> result;
    for (const ClassPointer& signature : {method.in, method.out}) {
        if (!signature) {
            continue;
        }
        for (const Property& parameter : signature->properties) {
            const bool known = std::any_of(result.begin(), result.end(), [&parameter](const Property* other) {
                return sameName(other->name, parameter.name);
            });
            if (!known && parameter.name != L"ReturnValue") {
                result.push_back(&parameter);
            }
        }
    }
    std::stable_sort(result.begin(), result.end(),
                     [](const Property* a, const Property* b) { return parameterId(*a) < parameterId(*b); });
    return result;
}

// A parameter at that place in the list. Its place implies its ID, unless the MOF chose another one.
std::wstring parameterText(const Property& parameter, long place, bool withFlavors)
{
    Qualifiers shown = parameter.qualifiers;
    if (parameterId(parameter) == place) {
        std::erase_if(shown, [](const Qualifier& qualifier) { return sameName(qualifier.name, L"ID"); });
    }
    return qualifiersText(shown, withFlavors, L" ") + declarator(parameter) + defaultText(parameter);
}

std::wstring methodText(const Method& method, bool withFlavors)
{
    const Property* returnValue = method.out ? method.out->findProperty(L"ReturnValue") : nullptr;
    std::wstring text = L"    " + qualifiersText(method.qualifiers, withFlavors, L" ");
    text += (returnValue == nullptr ? L"void" : typeText(*returnValue)) + L" " + method.name + L"(";
    long place = 0;
    for (const Property* parameter : parametersOf(method)) {
        text += (place == 0 ? L"" : L", ") + parameterText(*parameter, place, withFlavors);
        ++place;
    }
    return text + L");\n";
}

// A character that a text cannot hold as it is: a control character, or half of a pair that stands alone.
bool needsNumber(std::wstring_view text, std::size_t place)
{
    const wchar_t c = text[place];
    const bool leads = IS_HIGH_SURROGATE(c);
    const bool trails = IS_LOW_SURROGATE(c);
    if (leads) {
        return place + 1 == text.size() || !IS_LOW_SURROGATE(text[place + 1]);
    }
    if (trails) {
        return place == 0 || !IS_HIGH_SURROGATE(text[place - 1]);
    }
    return c < L' ' || c == 0x7F;
}

std::wstring escapedByNumber(wchar_t c)
{
    constexpr std::wstring_view DIGITS = L"0123456789ABCDEF";
    std::wstring text = L"\\x";
    // Always four digits, so that a digit that follows does not count as one of them.
    for (int shift = 12; shift >= 0; shift -= 4) {
        text += DIGITS[static_cast<std::size_t>(c >> shift) & 0xF];
    }
    return text;
}

// A real in a form that every MOF compiler accepts: with a point, and digits on both sides of it.
std::wstring realLiteral(const VARIANT& value, CIMTYPE type)
{
    if (!std::isfinite(value.vt == VT_R4 ? value.fltVal : value.dblVal)) {
        return L"NULL";
    }
    std::wstring text = scalarText(value, type);
    if (text.find(L'.') == std::wstring::npos) {
        text.insert(std::min(text.find(L'e'), text.size()), L".0");
    }
    return text;
}

// The text of an object as a value: without the semicolon and the line end of a declaration.
std::wstring objectLiteral(IUnknown* unknown)
{
    ComPtr<IWbemClassObject> object;
    Bstr text;
    if (unknown == nullptr || FAILED(unknown->QueryInterface(IID_PPV_ARGS(object.put()))) ||
        FAILED(object->GetObjectText(0, text.put())))
    {
        return L"NULL";
    }
    std::wstring_view declaration = text.view();
    declaration.remove_suffix(declaration.size() - 1 - declaration.rfind(L'}'));
    std::wstring result;
    for (const wchar_t c : declaration) {
        result += c;
        if (c == L'\n') {
            result += L"    ";
        }
    }
    return result;
}

std::wstring listLiteral(const VARIANT& list, CIMTYPE type)
{
    std::wstring text = L"{";
    for (const Variant& element : elementsOf(list)) {
        std::wstring literal = mofLiteral(element.get(), elementTypeOf(type));
        if (literal == L"NULL") {
            // Lists have no elements without a value.
            return literal;
        }
        text += (text.size() > 1 ? L", " : L"") + literal;
    }
    return text + L"}";
}

}  // namespace

std::wstring typeText(const Property& property)
{
    if (elementTypeOf(property.type) == CIM_REFERENCE) {
        return (property.className.empty() ? L"object" : property.className) + L" ref";
    }
    if (elementTypeOf(property.type) == CIM_OBJECT && !property.className.empty()) {
        return L"object:" + property.className;
    }
    return std::wstring(infoOf(property.type).name);
}

std::wstring classText(const ClassDefinition& definition, bool withFlavors)
{
    std::wstring text = qualifiersText(definition.qualifiers, withFlavors, L"\n");
    text += L"class " + definition.name;
    if (!definition.ancestors.empty()) {
        text += L" : " + definition.ancestors.front();
    }
    text += L"\n{\n";
    for (const Property& property : definition.properties) {
        if (!property.local) {
            continue;
        }
        text += L"    " + qualifiersText(property.qualifiers, withFlavors, L" ") + declarator(property) +
                defaultText(property) + L";\n";
    }
    for (const Method& method : definition.methods) {
        if (method.local) {
            text += methodText(method, withFlavors);
        }
    }
    return text + L"};\n";
}

std::wstring instanceText(const ClassDefinition& definition, const std::vector<Variant>& values)
{
    std::wstring text = L"instance of " + definition.name + L"\n{\n";
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Property& property = definition.properties[i];
        if (!values[i].isNull() || !property.defaultValue.isNull()) {
            text += L"    " + property.name + L" = " + mofLiteral(values[i].get(), property.type) + L";\n";
        }
    }
    return text + L"};\n";
}

std::wstring mofQuoted(std::wstring_view text)
{
    constexpr std::wstring_view SPECIAL = L"\"\\\n\r\t\b\f";
    constexpr std::wstring_view LETTERS = L"\"\\nrtbf";
    std::wstring quoted = L"\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t found = SPECIAL.find(text[i]);
        if (found != std::wstring_view::npos) {
            quoted += L'\\';
            quoted += LETTERS[found];
        } else {
            quoted += needsNumber(text, i) ? escapedByNumber(text[i]) : std::wstring(1, text[i]);
        }
    }
    return quoted + L"\"";
}

std::wstring mofLiteral(const VARIANT& value, CIMTYPE type)
{
    switch (value.vt) {
        case VT_NULL:
        case VT_EMPTY:
            return L"NULL";
        case VT_R4:
        case VT_R8:
            return realLiteral(value, type);
        case VT_UNKNOWN:
            return objectLiteral(value.punkVal);
        default:
            break;
    }
    if ((value.vt & VT_ARRAY) != 0) {
        return listLiteral(value, type);
    }
    return isTextual(type) ? mofQuoted(viewOf(value.bstrVal)) : scalarText(value, type);
}

}  // namespace wmihost
