#pragma once

#include "wmihost/com/Com.h"

namespace wmihost {

// The context of a client that passes no values with its request. Takes none either: SetValue answers
// WBEM_E_NOT_SUPPORTED. The platform's own context is not used: Wine's is part of a DLL that loads the graphics and
// opens a desktop, which takes longer than a request. Any thread.
class EmptyContext final : public ComObject<IWbemContext>
{
public:
    HRESULT STDMETHODCALLTYPE Clone(IWbemContext** copy) override;
    HRESULT STDMETHODCALLTYPE GetNames(LONG flags, SAFEARRAY** names) override;
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG flags) override;
    HRESULT STDMETHODCALLTYPE Next(LONG flags, BSTR* name, VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE EndEnumeration() override;
    HRESULT STDMETHODCALLTYPE SetValue(LPCWSTR name, LONG flags, VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE GetValue(LPCWSTR name, LONG flags, VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE DeleteValue(LPCWSTR name, LONG flags) override;
    HRESULT STDMETHODCALLTYPE DeleteAll() override;
};

}  // namespace wmihost
