#include "wmihost/objects/QualifierSet.h"

#include "wmihost/com/Guard.h"

namespace wmihost {

HRESULT QualifierSet::Get(LPCWSTR name, LONG flags, VARIANT* value, LONG* flavor)
{
    return guarded([&] {
        if (name == nullptr || flags != 0) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        const Qualifier* found = findQualifier(m_qualifiers, name);
        if (found == nullptr) {
            return code(WBEM_E_NOT_FOUND);
        }
        if (value != nullptr) {
            *value = Variant(found->value).detach();
        }
        if (flavor != nullptr) {
            *flavor = found->flavor;
        }
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT QualifierSet::Put(LPCWSTR, VARIANT*, LONG)
{
    return code(WBEM_E_NOT_SUPPORTED);
}

HRESULT QualifierSet::Delete(LPCWSTR)
{
    return code(WBEM_E_NOT_SUPPORTED);
}

HRESULT QualifierSet::GetNames(LONG flags, SAFEARRAY** names)
{
    return guarded([&] {
        const auto chosen = selected(flags);
        if (names == nullptr || !chosen) {
            return code(WBEM_E_INVALID_PARAMETER);
        }
        std::vector<std::wstring> texts;
        for (const Qualifier* qualifier : *chosen) {
            texts.push_back(qualifier->name);
        }
        *names = Variant::ofTexts(texts).detach().parray;
        return code(WBEM_S_NO_ERROR);
    });
}

HRESULT QualifierSet::BeginEnumeration(LONG flags)
{
    return guarded([&] { return m_enumeration.begin(selected(flags)); });
}

HRESULT QualifierSet::Next(LONG flags, BSTR* name, VARIANT* value, LONG* flavor)
{
    return guarded([&] {
        return m_enumeration.next(flags, [&](const Qualifier* qualifier) {
            Bstr text(qualifier->name);
            Variant copy(qualifier->value);
            if (name != nullptr) {
                *name = text.detach();
            }
            if (value != nullptr) {
                *value = copy.detach();
            }
            if (flavor != nullptr) {
                *flavor = qualifier->flavor;
            }
            return code(WBEM_S_NO_ERROR);
        });
    });
}

HRESULT QualifierSet::EndEnumeration()
{
    return m_enumeration.end();
}

std::optional<std::vector<const Qualifier*>> QualifierSet::selected(LONG flags) const
{
    if (flags != 0 && flags != WBEM_FLAG_LOCAL_ONLY && flags != WBEM_FLAG_PROPAGATED_ONLY) {
        return std::nullopt;
    }
    std::vector<const Qualifier*> result;
    for (const Qualifier& qualifier : m_qualifiers) {
        const bool inherited = (qualifier.flavor & WBEM_FLAVOR_ORIGIN_PROPAGATED) != 0;
        if (flags == 0 || inherited == (flags == WBEM_FLAG_PROPAGATED_ONLY)) {
            result.push_back(&qualifier);
        }
    }
    return result;
}

}  // namespace wmihost
