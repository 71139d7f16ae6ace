#include "adapters/wmi/OutParameters.h"

namespace wa {

OutParameters spawnOutParameters(const utils::LogSite& caller, const std::string& className,
                                 const std::string& methodName, IWbemServices* pNamespace, IWbemContext* pCtx)
{
    OutParameters out;
    caller.debug("Get object for %s", className.c_str());
    HRESULT hr = pNamespace->GetObject(utils::ScopedBstr(className).get(), 0, pCtx, out.classObject.out(), nullptr);
    if (hr != WBEM_S_NO_ERROR) {
        caller.error("pNamespace->GetObject() error 0x%X", hr);
        return out;
    }
    if (out.classObject.get() == nullptr) {
        return out;
    }
    caller.debug("Get method %s", methodName.c_str());
    hr = out.classObject->GetMethod(utils::WideText(methodName).get(), 0, nullptr, out.signature.out());
    if (out.signature.get() != nullptr) {
        out.signature->SpawnInstance(0, out.object.out());
    }
    if (hr != WBEM_S_NO_ERROR) {
        caller.error("pClass->GetMethod() error 0x%X", hr);
        out.object.reset();
    }
    return out;
}

}  // namespace wa
