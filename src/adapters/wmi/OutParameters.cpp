#include "adapters/wmi/OutParameters.h"

namespace wa {

utils::ComReference<IWbemClassObject> spawnOutParameters(const utils::LogSite& caller, const std::string& className,
                                                         const std::string& methodName, IWbemServices* pNamespace,
                                                         IWbemContext* pCtx)
{
    utils::ComReference<IWbemClassObject> outParams;
    caller.debug("Get object for %s", className.c_str());
    utils::ComReference<IWbemClassObject> classObject;
    HRESULT hr = pNamespace->GetObject(utils::ScopedBstr(className).get(), 0, pCtx, classObject.out(), nullptr);
    if (hr != WBEM_S_NO_ERROR) {
        caller.error("pNamespace->GetObject() error 0x%X", hr);
        return outParams;
    }
    if (classObject.get() == nullptr) {
        return outParams;
    }
    caller.debug("Get method %s", methodName.c_str());
    utils::ComReference<IWbemClassObject> signature;
    hr = classObject->GetMethod(utils::WideText(methodName).get(), 0, nullptr, signature.out());
    if (signature.get() != nullptr) {
        signature->SpawnInstance(0, outParams.out());
    }
    if (hr != WBEM_S_NO_ERROR) {
        caller.error("pClass->GetMethod() error 0x%X", hr);
        outParams.reset();
    }
    return outParams;
}

}  // namespace wa
