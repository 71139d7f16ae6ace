#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "wmihost/com/Com.h"
#include "wmihost/objects/Enumeration.h"
#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// A class or an instance as WMI hands it to providers and clients: IWbemClassObject with WMI's documented behaviour.
// PutMethod, DeleteMethod and changes of qualifiers answer WBEM_E_NOT_SUPPORTED. Embedded objects are copied when they
// are put and when they are handed out. Used by one thread at a time. Objects of one class share its definition, which
// never changes.
class ClassObject final : public ComObject<IWbemClassObject>
{
public:
    // The definition of a class as an object.
    static ComPtr<IWbemClassObject> ofClass(ClassPointer definition);
    // An instance; its values are copied.
    static ComPtr<IWbemClassObject> ofInstance(InstanceData instance);

    HRESULT STDMETHODCALLTYPE GetQualifierSet(IWbemQualifierSet** qualifiers) override;
    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type) override;
    HRESULT STDMETHODCALLTYPE Delete(LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE GetNames(LPCWSTR qualifier, LONG flags, VARIANT* qualifierValue,
                                       SAFEARRAY** names) override;
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG flags) override;
    HRESULT STDMETHODCALLTYPE Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE EndEnumeration() override;
    HRESULT STDMETHODCALLTYPE GetPropertyQualifierSet(LPCWSTR property, IWbemQualifierSet** qualifiers) override;
    HRESULT STDMETHODCALLTYPE Clone(IWbemClassObject** copy) override;
    HRESULT STDMETHODCALLTYPE GetObjectText(LONG flags, BSTR* text) override;
    HRESULT STDMETHODCALLTYPE SpawnDerivedClass(LONG flags, IWbemClassObject** newClass) override;
    HRESULT STDMETHODCALLTYPE SpawnInstance(LONG flags, IWbemClassObject** newInstance) override;
    HRESULT STDMETHODCALLTYPE CompareTo(LONG flags, IWbemClassObject* other) override;
    HRESULT STDMETHODCALLTYPE GetPropertyOrigin(LPCWSTR name, BSTR* className) override;
    HRESULT STDMETHODCALLTYPE InheritsFrom(LPCWSTR ancestor) override;
    HRESULT STDMETHODCALLTYPE GetMethod(LPCWSTR name, LONG flags, IWbemClassObject** in,
                                        IWbemClassObject** out) override;
    HRESULT STDMETHODCALLTYPE PutMethod(LPCWSTR name, LONG flags, IWbemClassObject* in, IWbemClassObject* out) override;
    HRESULT STDMETHODCALLTYPE DeleteMethod(LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE BeginMethodEnumeration(LONG flags) override;
    HRESULT STDMETHODCALLTYPE NextMethod(LONG flags, BSTR* name, IWbemClassObject** in,
                                         IWbemClassObject** out) override;
    HRESULT STDMETHODCALLTYPE EndMethodEnumeration() override;
    HRESULT STDMETHODCALLTYPE GetMethodQualifierSet(LPCWSTR method, IWbemQualifierSet** qualifiers) override;
    HRESULT STDMETHODCALLTYPE GetMethodOrigin(LPCWSTR method, BSTR* className) override;

private:
    // A property as Get and Next show it.
    struct Item
    {
        Variant value;
        CIMTYPE type;
        LONG flavor;
    };

    ClassObject(ClassPointer definition, std::optional<std::vector<Variant>> values);

    bool isInstance() const { return m_values.has_value(); }
    const Variant& valueAt(std::size_t place) const;
    std::optional<Item> item(std::wstring_view name) const;
    void replaceDefinition(ClassDefinition definition);
    static HRESULT signatures(const Method& method, IWbemClassObject** in, IWbemClassObject** out);

    ClassPointer m_class;
    std::optional<std::vector<Variant>> m_values;  // none for a class
    Enumeration<std::wstring> m_properties;
    Enumeration<std::wstring> m_methods;
};

}  // namespace wmihost
