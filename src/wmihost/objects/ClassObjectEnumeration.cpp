#include "wmihost/objects/ClassObject.h"

#include "wmihost/com/Guard.h"
#include "wmihost/objects/PropertySelection.h"

namespace wmihost {

HRESULT ClassObject::GetNames(LPCWSTR qualifier, LONG flags, VARIANT* qualifierValue, SAFEARRAY** names)
{
    return guarded([&] {
        const LONG condition = flags & WBEM_MASK_PRIMARY_CONDITION;
        auto chosen = selectedNames(*m_class, isInstance(), flags & ~WBEM_MASK_PRIMARY_CONDITION);
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
        m_enumeration = selectedNames(*m_class, isInstance(), flags);
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

}  // namespace wmihost
