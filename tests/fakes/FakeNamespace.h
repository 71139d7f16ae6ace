#pragma once

#include <map>
#include <string>

#include "adapters/wmi/RefusingServices.h"
#include "fakes/FakeClassObject.h"

namespace support {

// The namespace that WMI hands to the provider: gives class definitions and refuses everything else.
class FakeNamespace final : public FakeUnknown<IWbemServices, wa::RefusingServices>
{
public:
    explicit FakeNamespace(CallLog& calls, const std::string& name = "namespace") : FakeUnknown(calls, name) {}

    // By class name. One that is missing answers WBEM_E_NOT_FOUND; null is given as null.
    std::map<std::string, FakeClassObject*> classes;
    // The answer where the class is there.
    HRESULT getObjectStatus = WBEM_S_NO_ERROR;

    HRESULT STDMETHODCALLTYPE GetObject(BSTR path, LONG flags, IWbemContext* context, IWbemClassObject** object,
                                        IWbemCallResult** result) override;
};

}  // namespace support
