#pragma once

#include "support/FakeUnknown.h"

namespace support {

// The context of a request, which the provider only passes on.
class FakeContext final : public FakeUnknown<IWbemContext>
{
public:
    explicit FakeContext(CallLog& calls) : FakeUnknown(calls, "context") {}

    HRESULT STDMETHODCALLTYPE Clone(IWbemContext**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetNames(LONG, SAFEARRAY**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Next(LONG, BSTR*, VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndEnumeration() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetValue(LPCWSTR, LONG, VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetValue(LPCWSTR, LONG, VARIANT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeleteValue(LPCWSTR, LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DeleteAll() override { return E_NOTIMPL; }
};

}  // namespace support
