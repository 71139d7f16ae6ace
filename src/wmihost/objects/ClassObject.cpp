#include "wmihost/objects/ClassObject.h"

#include <cstddef>
#include <utility>

#include "wmihost/com/Guard.h"
#include "wmihost/mof/MofText.h"
#include "wmihost/objects/ClassEditing.h"
#include "wmihost/objects/ObjectComparison.h"
#include "wmihost/objects/PropertyValues.h"
#include "wmihost/objects/QualifierSet.h"
#include "wmihost/objects/SystemProperties.h"

namespace wmihost {
ClassObject::ClassObject(ClassPointer definition, std::optional<std::vector<Variant>> values)
    : m_class(std::move(definition)), m_values(std::move(values))
{
}

ComPtr<IWbemClassObject> ClassObject::ofClass(ClassPointer definition)
{
    return ComPtr<IWbemClassObject>::adopt(new ClassObject(std::move(definition), std::nullopt));
}

ComPtr<IWbemClassObject> ClassObject::ofInstance(InstanceData instance)
{
    return ComPtr<IWbemClassObject>::adopt(new ClassObject(std::move(instance.definition), std::move(instance.values)));
}

const Variant& ClassObject::valueAt(std::size_t place) const
{
    return m_values ? (*m_values)[place] : m_class->properties[place].defaultValue;
}

std::optional<ClassObject::Item> ClassObject::item(std::wstring_view name) const
{
    if (isSystemName(name)) {
        auto value = systemValue(*m_class, m_values, name);
        return value ? std::optional(Item{std::move(value->value), value->type, WBEM_FLAVOR_ORIGIN_SYSTEM})
                     : std::nullopt;
    }
    const int place = m_class->indexOf(name);
    if (place < 0) {
        return std::nullopt;
    }
    const auto index = static_cast<std::size_t>(place);
    const Property& property = m_class->properties[index];
    const LONG flavor = property.local ? WBEM_FLAVOR_ORIGIN_LOCAL : WBEM_FLAVOR_ORIGIN_PROPAGATED;
    return Item{ownCopy(valueAt(index)), property.type, flavor};
}

HRESULT ClassObject::GetQualifierSet(IWbemQualifierSet** qualifiers)
{
    return guarded([&] {
        if (qualifiers == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        *qualifiers =
            new QualifierSet(isInstance() ? propagated(m_class->qualifiers, WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE)
                                          : m_class->qualifiers);
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    return guarded([&] {
        if (name == nullptr || flags != 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        auto found = item(name);
        if (!found) {
            return code(WBEM_E_NOT_FOUND);
        }
        // The caller's VARIANT need not be initialised, so it is overwritten and not cleared.
        if (value != nullptr) {
            *value = found->value.detach();
        }
        if (type != nullptr) {
            *type = found->type;
        }
        if (flavor != nullptr) {
            *flavor = found->flavor;
        }
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type)
{
    return guarded([&] {
        if (name == nullptr || flags != 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        static const Variant nothing;
        const VARIANT& given = value == nullptr ? nothing.get() : *value;
        if (!isInstance()) {
            ClassDefinition changed = *m_class;
            const HRESULT result = putToClass(changed, name, given, type);
            if (SUCCEEDED(result)) {
                replaceDefinition(std::move(changed));
            }
            return result;
        }
        if (isSystemName(name)) {
            return code(isSystemProperty(name) ? WBEM_E_READ_ONLY : WBEM_E_NOT_FOUND);
        }
        if (type != 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        const int place = m_class->indexOf(name);
        if (place < 0) {
            return code(WBEM_E_NOT_FOUND);
        }
        const auto index = static_cast<std::size_t>(place);
        auto stored = storedValue(m_class->properties[index], given);
        if (!stored) {
            return code(WBEM_E_TYPE_MISMATCH);
        }
        (*m_values)[index] = std::move(*stored);
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::Delete(LPCWSTR name)
{
    return guarded([&] {
        if (name == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        if (isSystemName(name)) {
            return code(isSystemProperty(name) ? WBEM_E_SYSTEM_PROPERTY : WBEM_E_NOT_FOUND);
        }
        if (isInstance()) {
            return code(m_class->indexOf(name) < 0 ? WBEM_E_NOT_FOUND : WBEM_E_INVALID_OPERATION);
        }
        ClassDefinition changed = *m_class;
        const HRESULT result = deleteFromClass(changed, name);
        if (SUCCEEDED(result)) {
            replaceDefinition(std::move(changed));
        }
        return result;
    });
}

// Other objects that share the old definition, such as instances, keep it.
void ClassObject::replaceDefinition(ClassDefinition definition)
{
    m_class = std::make_shared<const ClassDefinition>(std::move(definition));
}

HRESULT ClassObject::GetPropertyQualifierSet(LPCWSTR property, IWbemQualifierSet** qualifiers)
{
    return guarded([&] {
        if (property == nullptr || qualifiers == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        *qualifiers = nullptr;
        if (isSystemProperty(property)) {
            return code(WBEM_E_SYSTEM_PROPERTY);
        }
        const Property* found = m_class->findProperty(property);
        if (found == nullptr) {
            return code(WBEM_E_NOT_FOUND);
        }
        *qualifiers = new QualifierSet(
            isInstance() ? propagated(found->qualifiers, WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE) : found->qualifiers);
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::Clone(IWbemClassObject** copy)
{
    return guarded([&] {
        if (copy == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        *copy = new ClassObject(m_class, m_values);
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::GetObjectText(LONG flags, BSTR* text)
{
    return guarded([&] {
        if (text == nullptr || (flags & ~WBEM_FLAG_NO_FLAVORS) != 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        if (m_class->name.empty()) {
            // A class without a name has no declaration that a compiler accepts.
            return code(WBEM_E_INCOMPLETE_CLASS);
        }
        const bool withFlavors = (flags & WBEM_FLAG_NO_FLAVORS) == 0;
        *text = Bstr(m_values ? instanceText(*m_class, *m_values) : classText(*m_class, withFlavors)).detach();
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::SpawnDerivedClass(LONG flags, IWbemClassObject** newClass)
{
    return guarded([&] {
        if (flags != 0 || newClass == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        if (isInstance()) {
            return code(WBEM_E_INVALID_OPERATION);
        }
        if (m_class->name.empty()) {
            return code(WBEM_E_INCOMPLETE_CLASS);
        }
        *newClass = ofClass(std::make_shared<const ClassDefinition>(derivedFrom(*m_class, {}))).detach();
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::SpawnInstance(LONG flags, IWbemClassObject** newInstance)
{
    return guarded([&] {
        if (flags != 0 || newInstance == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        if (m_class->name.empty()) {
            return code(WBEM_E_INCOMPLETE_CLASS);
        }
        *newInstance = ofInstance(InstanceData(m_class)).detach();
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::CompareTo(LONG flags, IWbemClassObject* other)
{
    return guarded([&] { return other == nullptr ? code(WBEM_E_INVALID_PARAMETER) : compare(*this, *other, flags); });
}

HRESULT ClassObject::GetPropertyOrigin(LPCWSTR name, BSTR* className)
{
    return guarded([&] {
        if (name == nullptr || className == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        if (isSystemProperty(name)) {
            *className = Bstr(L"___SYSTEM").detach();
            return code(WBEM_S_NO_ERROR);
        }
        const Property* property = m_class->findProperty(name);
        if (property == nullptr) {
            return code(WBEM_E_NOT_FOUND);
        }
        *className = Bstr(property->origin).detach();
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::InheritsFrom(LPCWSTR ancestor)
{
    if (ancestor == nullptr) {
        return code(WBEM_E_INVALID_PARAMETER);
    }
    return code(m_class->inheritsFrom(ancestor) ? WBEM_S_NO_ERROR : WBEM_S_FALSE);
}

}  // namespace wmihost
