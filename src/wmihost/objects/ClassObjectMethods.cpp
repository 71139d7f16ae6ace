#include "wmihost/objects/ClassObject.h"

#include "wmihost/com/Guard.h"
#include "wmihost/objects/QualifierSet.h"

namespace wmihost {

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
        std::vector<std::wstring> names;
        for (const Method& method : m_class->methods) {
            if (flags == 0 || method.local == (flags == WBEM_FLAG_LOCAL_ONLY)) {
                names.push_back(method.name);
            }
        }
        return m_methods.begin(std::move(names));
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
        return m_methods.next(flags, [&](const std::wstring& current) {
            Bstr text(current);
            signatures(*m_class->findMethod(current), in, out);
            if (name != nullptr) {
                *name = text.detach();
            }
            return code(WBEM_S_NO_ERROR);
        });
    });
}

HRESULT ClassObject::EndMethodEnumeration()
{
    return m_methods.end();
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
