#include "wmihost/mof/MofText.h"

#include <algorithm>
#include <cstddef>

#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

// What the type and the order of the parameters say already is not written as a qualifier.
bool isImplied(const Qualifier& qualifier)
{
    return sameName(qualifier.name, L"CIMTYPE") || sameName(qualifier.name, L"ID");
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
    const bool plainTrue = qualifier.type == CIM_BOOLEAN && qualifier.value.get().boolVal != VARIANT_FALSE;
    if (isArray(qualifier.type)) {
        text += mofLiteral(qualifier.value.get(), qualifier.type);
    } else if (!plainTrue) {
        text += L"(" + mofLiteral(qualifier.value.get(), qualifier.type) + L")";
    }
    return withFlavors ? text + flavorText(qualifier.flavor) : text;
}

// "[key, read]" and what is to stand behind it; nothing if there is no qualifier to show.
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

long parameterId(const Property& parameter)
{
    const Qualifier* id = findQualifier(parameter.qualifiers, L"ID");
    return id == nullptr ? 0 : id->value.get().lVal;
}

// Inputs and outputs in the order of their IDs; one that is both stands in both signatures.
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

std::wstring methodText(const Method& method, bool withFlavors)
{
    const Property* returnValue = method.out ? method.out->findProperty(L"ReturnValue") : nullptr;
    std::wstring text = L"    " + qualifiersText(method.qualifiers, withFlavors, L" ");
    text += (returnValue == nullptr ? L"void" : typeText(*returnValue)) + L" " + method.name + L"(";
    bool first = true;
    for (const Property* parameter : parametersOf(method)) {
        text +=
            (first ? L"" : L", ") + qualifiersText(parameter->qualifiers, withFlavors, L" ") + declarator(*parameter);
        first = false;
    }
    return text + L");\n";
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
        text += L"    " + qualifiersText(property.qualifiers, withFlavors, L" ") + declarator(property);
        if (!property.defaultValue.isNull()) {
            text += L" = " + mofLiteral(property.defaultValue.get(), property.type);
        }
        text += L";\n";
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
        if (!values[i].isNull()) {
            const Property& property = definition.properties[i];
            text += L"    " + property.name + L" = " + mofLiteral(values[i].get(), property.type) + L";\n";
        }
    }
    return text + L"};\n";
}

}  // namespace wmihost
