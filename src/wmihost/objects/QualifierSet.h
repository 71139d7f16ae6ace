#pragma once

#include <optional>
#include <vector>

#include "wmihost/com/Com.h"
#include "wmihost/objects/Enumeration.h"
#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// A read-only view of the qualifiers of an object, a property or a method. Changing qualifiers is not
// supported: Put and Delete answer WBEM_E_NOT_SUPPORTED. Used by one thread at a time.
class QualifierSet final : public ComObject<IWbemQualifierSet>
{
public:
    explicit QualifierSet(Qualifiers qualifiers) : m_qualifiers(std::move(qualifiers)) {}

    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, VARIANT* value, LONG flavor) override;
    HRESULT STDMETHODCALLTYPE Delete(LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE GetNames(LONG flags, SAFEARRAY** names) override;
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG flags) override;
    HRESULT STDMETHODCALLTYPE Next(LONG flags, BSTR* name, VARIANT* value, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE EndEnumeration() override;

private:
    // The local, the inherited or all qualifiers, as the flags select. Nothing for other flags.
    std::optional<std::vector<const Qualifier*>> selected(LONG flags) const;

    const Qualifiers m_qualifiers;
    Enumeration<const Qualifier*> m_enumeration;
};

}  // namespace wmihost
