#pragma once

#include <map>
#include <string>

#include "adapters/wmi/RefusingServices.h"
#include "fakes/FakeClassObject.h"

namespace support {

// The namespace that WMI passes to the provider. Returns class definitions and refuses every other operation.
class FakeNamespace final : public FakeUnknown<IWbemServices, wa::RefusingServices>
{
public:
    explicit FakeNamespace(CallLog& calls, const std::string& name = "namespace") : FakeUnknown(calls, name) {}

    // Classes by name. For a missing name GetObject returns WBEM_E_NOT_FOUND; a null entry is returned as null.
    std::map<std::string, FakeClassObject*> classes;
    // The result of GetObject when the class exists.
    HRESULT getObjectStatus = WBEM_S_NO_ERROR;

    HRESULT STDMETHODCALLTYPE GetObject(BSTR path, LONG flags, IWbemContext* context, IWbemClassObject** object,
                                        IWbemCallResult** result) override;
};

}  // namespace support
