#include "fakes/FakeNamespace.h"

#include "Utils/Utils.h"

namespace support {

HRESULT FakeNamespace::GetObject(BSTR path, LONG flags, IWbemContext* context, IWbemClassObject** object,
                                 IWbemCallResult** result)
{
    const std::string className = utils::narrowBstr(path);
    record(utils::format("GetObject(%s, %ld, %s, out, %s)", className.c_str(), flags,
                         context == nullptr ? "null" : "context", result == nullptr ? "null" : "result"));
    *object = nullptr;
    const auto found = classes.find(className);
    if (found == classes.end()) {
        return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
    }
    if (found->second != nullptr) {
        found->second->AddRef();
        *object = found->second;
    }
    return getObjectStatus;
}

}  // namespace support
