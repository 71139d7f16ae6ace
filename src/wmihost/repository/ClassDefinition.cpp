#include "wmihost/repository/ClassDefinition.h"

#include <algorithm>
#include <utility>

#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

template <class Items>
auto findNamed(const Items& items, std::wstring_view name)
{
    return std::find_if(items.begin(), items.end(), [name](const auto& item) { return sameName(item.name, name); });
}

template <class Items>
auto pointerTo(const Items& items, std::wstring_view name)
{
    const auto found = findNamed(items, name);
    return found == items.end() ? nullptr : &*found;
}

// The flavor of qualifiers that derived classes and instances always have.
constexpr long EVERYWHERE =
    WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE | WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS | WBEM_FLAVOR_NOT_OVERRIDABLE;

}  // namespace

const Qualifier* findQualifier(const Qualifiers& qualifiers, std::wstring_view name)
{
    return pointerTo(qualifiers, name);
}

bool hasQualifier(const Qualifiers& qualifiers, std::wstring_view name)
{
    const Qualifier* qualifier = findQualifier(qualifiers, name);
    return qualifier != nullptr && qualifier->value.type() == VT_BOOL &&
           qualifier->value.get().boolVal != VARIANT_FALSE;
}

std::wstring qualifierText(const Qualifiers& qualifiers, std::wstring_view name)
{
    const Qualifier* qualifier = findQualifier(qualifiers, name);
    return qualifier != nullptr && qualifier->value.type() == VT_BSTR
               ? std::wstring(viewOf(qualifier->value.get().bstrVal))
               : std::wstring();
}

Qualifiers standardQualifiers(CIMTYPE type, std::wstring_view className)
{
    std::wstring text(infoOf(type).name);
    if (!className.empty()) {
        text += L':';
        text += className;
    }
    return {{L"CIMTYPE", CIM_STRING, Variant::ofText(text), EVERYWHERE}};
}

Qualifier keyQualifier()
{
    return {L"key", CIM_BOOLEAN, Variant::ofBool(true), EVERYWHERE};
}

const Property* ClassDefinition::findProperty(std::wstring_view propertyName) const
{
    return pointerTo(properties, propertyName);
}

const Method* ClassDefinition::findMethod(std::wstring_view methodName) const
{
    return pointerTo(methods, methodName);
}

int ClassDefinition::indexOf(std::wstring_view propertyName) const
{
    const auto found = findNamed(properties, propertyName);
    return found == properties.end() ? -1 : static_cast<int>(found - properties.begin());
}

bool ClassDefinition::inheritsFrom(std::wstring_view ancestor) const
{
    return sameName(name, ancestor) ||
           std::any_of(ancestors.begin(), ancestors.end(), [ancestor](const auto& a) { return sameName(a, ancestor); });
}

InstanceData::InstanceData(ClassPointer instanceClass) : definition(std::move(instanceClass))
{
    values.reserve(definition->properties.size());
    for (const Property& property : definition->properties) {
        values.push_back(property.defaultValue);
    }
}

Qualifiers propagated(const Qualifiers& qualifiers, long flag)
{
    Qualifiers result;
    for (const Qualifier& qualifier : qualifiers) {
        if ((qualifier.flavor & flag) != 0) {
            result.push_back(qualifier);
            result.back().flavor |= WBEM_FLAVOR_ORIGIN_PROPAGATED;
        }
    }
    return result;
}

ClassDefinition derivedFrom(const ClassDefinition& superclass, std::wstring name)
{
    constexpr long TO_DERIVED = WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS;
    ClassDefinition derived;
    derived.name = std::move(name);
    derived.nameSpace = superclass.nameSpace;
    derived.ancestors.push_back(superclass.name);
    derived.ancestors.insert(derived.ancestors.end(), superclass.ancestors.begin(), superclass.ancestors.end());
    derived.qualifiers = propagated(superclass.qualifiers, TO_DERIVED);
    derived.properties = superclass.properties;
    for (Property& property : derived.properties) {
        property.local = false;
        property.overridden = nullptr;
        property.qualifiers = propagated(property.qualifiers, TO_DERIVED);
    }
    derived.methods = superclass.methods;
    for (Method& method : derived.methods) {
        method.local = false;
        method.qualifiers = propagated(method.qualifiers, TO_DERIVED);
    }
    return derived;
}

}  // namespace wmihost
