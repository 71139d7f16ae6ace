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
    return guarded([&] { return m_properties.begin(selectedNames(*m_class, isInstance(), flags)); });
}

HRESULT ClassObject::Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    return guarded([&] {
        return m_properties.next(flags, [&](const std::wstring& current) {
            Bstr text(current);
            const HRESULT result = Get(current.c_str(), 0, value, type, flavor);
            if (SUCCEEDED(result) && name != nullptr) {
                *name = text.detach();
            }
            return result;
        });
    });
}

HRESULT ClassObject::EndEnumeration()
{
    return m_properties.end();
}

}  // namespace wmihost
