#include "wmihost/com/ClassObject.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "wmihost/com/Guard.h"
#include "wmihost/com/ObjectReader.h"
#include "wmihost/com/QualifierSet.h"
#include "wmihost/mof/MofText.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr LONG originFlags = WBEM_MASK_CONDITION_ORIGIN;
constexpr LONG keyOrRef = WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_REFS_ONLY;

// The system properties in the order in which WMI enumerates them.
constexpr std::array<const wchar_t*, 10> systemNames{
    L"__GENUS",          L"__CLASS",      L"__SUPERCLASS", L"__DYNASTY",   L"__RELPATH",
    L"__PROPERTY_COUNT", L"__DERIVATION", L"__SERVER",     L"__NAMESPACE", L"__PATH"};

// Whether the flags name at most one condition of each group.
bool areConsistent(LONG flags)
{
    constexpr LONG known = keyOrRef | originFlags | WBEM_MASK_CLASS_CONDITION;
    const LONG origin = flags & originFlags;
    return (flags & ~known) == 0 && (flags & keyOrRef) != keyOrRef && origin <= WBEM_FLAG_NONSYSTEM_ONLY &&
           (flags & WBEM_MASK_CLASS_CONDITION) != WBEM_MASK_CLASS_CONDITION;
}

bool isSystemName(std::wstring_view name)
{
    return name.starts_with(L"__");
}

Variant textOrNull(const std::optional<std::wstring>& text)
{
    return text ? Variant::ofText(*text) : Variant();
}

// Whether two values are equal for CompareTo; texts without case on demand.
bool equalValues(const VARIANT& left, const VARIANT& right, bool ignoreCase)
{
    if (ignoreCase && left.vt == VT_BSTR && right.vt == VT_BSTR) {
        return sameName(viewOf(left.bstrVal), viewOf(right.bstrVal));
    }
    return sameValue(left, right);
}

bool sameSystemValue(IWbemClassObject& left, IWbemClassObject& right, const wchar_t* name)
{
    return equalValues(valueOf(left, name).get(), valueOf(right, name).get(), true);
}

bool sameText(IWbemClassObject& left, IWbemClassObject& right, LONG flags)
{
    Bstr a;
    Bstr b;
    return SUCCEEDED(left.GetObjectText(flags, a.put())) && SUCCEEDED(right.GetObjectText(flags, b.put())) &&
           a.view() == b.view();
}

}  // namespace

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

std::optional<std::wstring> ClassObject::path() const
{
    if (m_values) {
        return relativePath(*m_class, *m_values);
    }
    return m_class->name.empty() ? std::nullopt : std::optional(m_class->name);
}

std::optional<ClassObject::Item> ClassObject::systemItem(std::wstring_view name) const
{
    const auto found =
        std::find_if(systemNames.begin(), systemNames.end(), [name](const auto* n) { return sameName(n, name); });
    if (found == systemNames.end()) {
        return std::nullopt;
    }
    Item result{*found, Variant(), CIM_STRING, WBEM_FLAVOR_ORIGIN_SYSTEM};
    const auto& ancestors = m_class->ancestors;
    const std::wstring_view key = result.name;
    if (key == L"__GENUS") {
        result.type = CIM_SINT32;
        result.value = Variant::ofLong(isInstance() ? WBEM_GENUS_INSTANCE : WBEM_GENUS_CLASS);
    } else if (key == L"__PROPERTY_COUNT") {
        result.type = CIM_SINT32;
        result.value = Variant::ofLong(static_cast<long>(m_class->properties.size()));
    } else if (key == L"__DERIVATION") {
        result.type = CIM_STRING | CIM_FLAG_ARRAY;
        result.value = Variant::ofTexts(ancestors);
    } else if (key == L"__CLASS" && !m_class->name.empty()) {
        result.value = Variant::ofText(m_class->name);
    } else if (key == L"__SUPERCLASS" && !ancestors.empty()) {
        result.value = Variant::ofText(ancestors.front());
    } else if (key == L"__DYNASTY" && !m_class->name.empty()) {
        result.value = Variant::ofText(ancestors.empty() ? m_class->name : ancestors.back());
    } else if (key == L"__SERVER") {
        result.value = Variant::ofText(serverName());
    } else if (key == L"__NAMESPACE") {
        result.value = Variant::ofText(m_class->nameSpace);
    } else if (key == L"__RELPATH") {
        result.value = textOrNull(path());
    } else if (key == L"__PATH") {
        if (const auto relative = path()) {
            result.value = Variant::ofText(fullPath(m_class->nameSpace, *relative));
        }
    }
    return result;
}

std::optional<ClassObject::Item> ClassObject::item(std::wstring_view name) const
{
    if (isSystemName(name)) {
        return systemItem(name);
    }
    const int place = m_class->indexOf(name);
    if (place < 0) {
        return std::nullopt;
    }
    const auto index = static_cast<std::size_t>(place);
    const Property& property = m_class->properties[index];
    const LONG flavor = property.local ? WBEM_FLAVOR_ORIGIN_LOCAL : WBEM_FLAVOR_ORIGIN_PROPAGATED;
    return Item{property.name, valueAt(index), property.type, flavor};
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
        // The caller's VARIANT need not be initialised: it is written, never cleared.
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
            return putToClass(name, given, type);
        }
        if (isSystemName(name)) {
            return code(systemItem(name) ? WBEM_E_READ_ONLY : WBEM_E_NOT_FOUND);
        }
        if (type != 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        const int place = m_class->indexOf(name);
        if (place < 0) {
            return code(WBEM_E_NOT_FOUND);
        }
        const auto index = static_cast<std::size_t>(place);
        auto coerced = coerce(given, m_class->properties[index].type);
        if (!coerced) {
            return code(WBEM_E_TYPE_MISMATCH);
        }
        (*m_values)[index] = std::move(*coerced);
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::putToClass(std::wstring_view name, const VARIANT& value, CIMTYPE type)
{
    ClassDefinition changed = *m_class;
    if (isSystemName(name)) {
        // A derived class is born without a name, and gets it once.
        if (!sameName(name, L"__CLASS") || !changed.name.empty() || value.vt != VT_BSTR) {
            return code(systemItem(name) ? WBEM_E_READ_ONLY : WBEM_E_NOT_FOUND);
        }
        changed.name = viewOf(value.bstrVal);
        for (Property& property : changed.properties) {
            if (property.origin.empty()) {
                property.origin = changed.name;
            }
        }
        replaceDefinition(std::move(changed));
        return code(WBEM_S_NO_ERROR);
    }
    const int place = changed.indexOf(name);
    if (place < 0) {
        // A reference needs to know its class, which only the MOF can say.
        if (!isCimType(type) || elementTypeOf(type) == CIM_REFERENCE) {
            return code(WBEM_E_INVALID_PROPERTY_TYPE);
        }
        Property added;
        added.name = name;
        added.type = type;
        added.origin = changed.name;
        added.qualifiers = standardQualifiers(type, L"");
        changed.properties.push_back(std::move(added));
    }
    Property& property = place < 0 ? changed.properties.back() : changed.properties[static_cast<std::size_t>(place)];
    if (type != 0 && type != property.type) {
        return code(WBEM_E_TYPE_MISMATCH);
    }
    auto coerced = coerce(value, property.type);
    if (!coerced) {
        return code(WBEM_E_TYPE_MISMATCH);
    }
    if (!property.local) {
        property.overridden = std::make_shared<const Property>(property);
        property.local = true;
    }
    property.defaultValue = std::move(*coerced);
    replaceDefinition(std::move(changed));
    return code(WBEM_S_NO_ERROR);
}

// Objects that share the old definition, instances among them, keep it.
void ClassObject::replaceDefinition(ClassDefinition definition)
{
    m_class = std::make_shared<const ClassDefinition>(std::move(definition));
}

HRESULT ClassObject::Delete(LPCWSTR name)
{
    return guarded([&] {
        if (name == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        if (isSystemName(name)) {
            return code(systemItem(name) ? WBEM_E_SYSTEM_PROPERTY : WBEM_E_NOT_FOUND);
        }
        const int place = m_class->indexOf(name);
        if (place < 0) {
            return code(WBEM_E_NOT_FOUND);
        }
        if (isInstance()) {
            return code(WBEM_E_INVALID_OPERATION);
        }
        const auto index = static_cast<std::size_t>(place);
        const Property& property = m_class->properties[index];
        if (!property.local) {
            return code(WBEM_E_PROPAGATED_PROPERTY);
        }
        ClassDefinition changed = *m_class;
        const auto inherited = property.overridden;
        if (inherited) {
            changed.properties[index] = *inherited;
        } else {
            changed.properties.erase(changed.properties.begin() + place);
        }
        replaceDefinition(std::move(changed));
        return code(inherited ? WBEM_S_RESET_TO_DEFAULT : WBEM_S_NO_ERROR);
    });
}

bool ClassObject::selects(LONG flags, const Property& property) const
{
    const LONG origin = flags & originFlags;
    return ((flags & WBEM_FLAG_KEYS_ONLY) == 0 || property.isKey()) &&
           ((flags & WBEM_FLAG_REFS_ONLY) == 0 || elementTypeOf(property.type) == CIM_REFERENCE) &&
           (origin != WBEM_FLAG_LOCAL_ONLY || property.local) &&
           (origin != WBEM_FLAG_PROPAGATED_ONLY || !property.local) && origin != WBEM_FLAG_SYSTEM_ONLY &&
           ((flags & WBEM_FLAG_CLASS_OVERRIDES_ONLY) == 0 || property.overridden) &&
           ((flags & WBEM_FLAG_CLASS_LOCAL_AND_OVERRIDES) == 0 || property.local);
}

std::optional<std::vector<std::wstring>> ClassObject::chosenNames(LONG flags) const
{
    if (!areConsistent(flags) || (isInstance() && (flags & WBEM_MASK_CLASS_CONDITION) != 0)) {
        return std::nullopt;
    }
    std::vector<std::wstring> names;
    const LONG origin = flags & originFlags;
    const bool withSystem =
        (origin == 0 || origin == WBEM_FLAG_SYSTEM_ONLY) && (flags & (keyOrRef | WBEM_MASK_CLASS_CONDITION)) == 0;
    if (withSystem) {
        names.assign(systemNames.begin(), systemNames.end());
    }
    for (const Property& property : m_class->properties) {
        if (selects(flags, property)) {
            names.push_back(property.name);
        }
    }
    return names;
}

HRESULT ClassObject::GetNames(LPCWSTR qualifier, LONG flags, VARIANT* qualifierValue, SAFEARRAY** names)
{
    return guarded([&] {
        const LONG condition = flags & WBEM_MASK_PRIMARY_CONDITION;
        auto chosen = chosenNames(flags & ~WBEM_MASK_PRIMARY_CONDITION);
        if (names == nullptr || !chosen || (condition != WBEM_FLAG_ALWAYS && qualifier == nullptr) ||
            (condition == WBEM_FLAG_ONLY_IF_IDENTICAL && qualifierValue == nullptr))
        {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        const auto rejected = [&](const std::wstring& name) {
            const Property* property = m_class->findProperty(name);
            const Qualifier* found = property == nullptr ? nullptr : findQualifier(property->qualifiers, qualifier);
            switch (condition) {
                case WBEM_FLAG_ONLY_IF_TRUE:
                    return found == nullptr;
                case WBEM_FLAG_ONLY_IF_FALSE:
                    return found != nullptr;
                default:
                    return found == nullptr || !sameValue(found->value.get(), *qualifierValue);
            }
        };
        if (condition != WBEM_FLAG_ALWAYS) {
            std::erase_if(*chosen, rejected);
        }
        *names = Variant::ofTexts(*chosen).detach().parray;
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::BeginEnumeration(LONG flags)
{
    return guarded([&] {
        if (m_enumeration) {
            return code(WBEM_E_UNEXPECTED);
        }
        m_enumeration = chosenNames(flags);
        m_next = 0;
        return code(m_enumeration ? WBEM_S_NO_ERROR : WBEM_E_INVALID_PARAMETER);
    });
}

HRESULT ClassObject::Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    return guarded([&] {
        if (flags != 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        if (!m_enumeration) {
            return code(WBEM_E_UNEXPECTED);
        }
        if (m_next == m_enumeration->size()) {
            return code(WBEM_S_NO_MORE_DATA);
        }
        const std::wstring& current = (*m_enumeration)[m_next];
        Bstr text(current);
        const HRESULT result = Get(current.c_str(), 0, value, type, flavor);
        if (result != WBEM_S_NO_ERROR) {
            return result;
        }
        ++m_next;
        if (name != nullptr) {
            *name = text.detach();
        }
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::EndEnumeration()
{
    m_enumeration.reset();
    return code(WBEM_S_NO_ERROR);
}

HRESULT ClassObject::GetPropertyQualifierSet(LPCWSTR property, IWbemQualifierSet** qualifiers)
{
    return guarded([&] {
        if (property == nullptr || qualifiers == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        *qualifiers = nullptr;
        if (systemItem(property)) {
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
        *newClass = ofClass(std::make_shared<const ClassDefinition>(derivedFrom(*m_class, L""))).detach();
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
    return guarded([&] {
        constexpr LONG known = WBEM_FLAG_IGNORE_QUALIFIERS | WBEM_FLAG_IGNORE_OBJECT_SOURCE |
                               WBEM_FLAG_IGNORE_DEFAULT_VALUES | WBEM_FLAG_IGNORE_CLASS | WBEM_FLAG_IGNORE_CASE |
                               WBEM_FLAG_IGNORE_FLAVOR;
        if (other == nullptr || (flags & ~known) != 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        const auto ignores = [flags](LONG flag) { return (flags & flag) != 0; };
        if (!sameSystemValue(*this, *other, L"__GENUS") ||
            (!ignores(WBEM_FLAG_IGNORE_CLASS) && !sameSystemValue(*this, *other, L"__CLASS")) ||
            (!ignores(WBEM_FLAG_IGNORE_OBJECT_SOURCE) &&
             (!sameSystemValue(*this, *other, L"__SERVER") || !sameSystemValue(*this, *other, L"__NAMESPACE"))))
        {
            return code(WBEM_S_DIFFERENT);
        }
        // Only classes have qualifiers of their own; their text shows them.
        if (!isInstance() && !ignores(WBEM_FLAG_IGNORE_QUALIFIERS) && !ignores(WBEM_FLAG_IGNORE_CLASS) &&
            !ignores(WBEM_FLAG_IGNORE_DEFAULT_VALUES) &&
            !sameText(*this, *other, ignores(WBEM_FLAG_IGNORE_FLAVOR) ? WBEM_FLAG_NO_FLAVORS : 0))
        {
            return code(WBEM_S_DIFFERENT);
        }
        std::vector<NamedValue> theirs;
        const HRESULT result = readProperties(*other, theirs);
        if (FAILED(result)) {
            return result;
        }
        if (theirs.size() != m_class->properties.size()) {
            return code(WBEM_S_DIFFERENT);
        }
        const bool withValues = isInstance() || !ignores(WBEM_FLAG_IGNORE_DEFAULT_VALUES);
        const bool same = std::all_of(theirs.begin(), theirs.end(), [&](const NamedValue& their) {
            const auto mine = item(their.name);
            return mine && mine->type == their.type &&
                   (!withValues || equalValues(mine->value.get(), their.value.get(), ignores(WBEM_FLAG_IGNORE_CASE)));
        });
        return code(same ? WBEM_S_SAME : WBEM_S_DIFFERENT);
    });
}

HRESULT ClassObject::GetPropertyOrigin(LPCWSTR name, BSTR* className)
{
    return guarded([&] {
        if (name == nullptr || className == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        if (systemItem(name)) {
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

HRESULT ClassObject::signatures(const Method& method, IWbemClassObject** in, IWbemClassObject** out)
{
    auto inputs = in != nullptr && method.in ? ofClass(method.in) : ComPtr<IWbemClassObject>();
    auto outputs = out != nullptr && method.out ? ofClass(method.out) : ComPtr<IWbemClassObject>();
    if (in != nullptr) {
        *in = inputs.detach();
    }
    if (out != nullptr) {
        *out = outputs.detach();
    }
    return code(WBEM_S_NO_ERROR);
}

HRESULT ClassObject::GetMethod(LPCWSTR name, LONG flags, IWbemClassObject** in, IWbemClassObject** out)
{
    return guarded([&] {
        if (in != nullptr) {
            *in = nullptr;
        }
        if (out != nullptr) {
            *out = nullptr;
        }
        if (name == nullptr || flags != 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        if (isInstance()) {
            return code(WBEM_E_ILLEGAL_OPERATION);
        }
        const Method* method = m_class->findMethod(name);
        return method == nullptr ? code(WBEM_E_NOT_FOUND) : signatures(*method, in, out);
    });
}

HRESULT ClassObject::PutMethod(LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*)
{
    return code(WBEM_E_NOT_SUPPORTED);
}

HRESULT ClassObject::DeleteMethod(LPCWSTR)
{
    return code(WBEM_E_NOT_SUPPORTED);
}

HRESULT ClassObject::BeginMethodEnumeration(LONG flags)
{
    return guarded([&] {
        if (flags != 0 && flags != WBEM_FLAG_LOCAL_ONLY && flags != WBEM_FLAG_PROPAGATED_ONLY) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        if (isInstance()) {
            return code(WBEM_E_ILLEGAL_OPERATION);
        }
        if (m_methods) {
            return code(WBEM_E_UNEXPECTED);
        }
        std::vector<std::wstring> names;
        for (const Method& method : m_class->methods) {
            if (flags == 0 || method.local == (flags == WBEM_FLAG_LOCAL_ONLY)) {
                names.push_back(method.name);
            }
        }
        m_methods = std::move(names);
        m_nextMethod = 0;
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::NextMethod(LONG flags, BSTR* name, IWbemClassObject** in, IWbemClassObject** out)
{
    return guarded([&] {
        if (in != nullptr) {
            *in = nullptr;
        }
        if (out != nullptr) {
            *out = nullptr;
        }
        if (flags != 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        if (!m_methods) {
            return code(WBEM_E_UNEXPECTED);
        }
        if (m_nextMethod == m_methods->size()) {
            return code(WBEM_S_NO_MORE_DATA);
        }
        Bstr text((*m_methods)[m_nextMethod]);
        signatures(*m_class->findMethod(text.view()), in, out);
        ++m_nextMethod;
        if (name != nullptr) {
            *name = text.detach();
        }
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::EndMethodEnumeration()
{
    m_methods.reset();
    return code(WBEM_S_NO_ERROR);
}

HRESULT ClassObject::GetMethodQualifierSet(LPCWSTR method, IWbemQualifierSet** qualifiers)
{
    return guarded([&] {
        if (method == nullptr || qualifiers == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        *qualifiers = nullptr;
        if (isInstance()) {
            return code(WBEM_E_ILLEGAL_OPERATION);
        }
        const Method* found = m_class->findMethod(method);
        if (found == nullptr) {
            return code(WBEM_E_NOT_FOUND);
        }
        *qualifiers = new QualifierSet(found->qualifiers);
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT ClassObject::GetMethodOrigin(LPCWSTR method, BSTR* className)
{
    return guarded([&] {
        if (method == nullptr || className == nullptr) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        const Method* found = m_class->findMethod(method);
        if (found == nullptr) {
            return code(WBEM_E_NOT_FOUND);
        }
        *className = Bstr(found->origin).detach();
        return code(WBEM_S_NO_ERROR);
    });
}

}  // namespace wmihost
