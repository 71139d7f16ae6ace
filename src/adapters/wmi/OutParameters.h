#pragma once

#include <string>

#include "Os/Windows/ComScope.h"
#include "Os/Windows/Platform.h"
#include "Utils/Log.h"

namespace wa {

// What an output object comes from is held as long as the object: they are released from the last to the first.
struct OutParameters
{
    utils::ComReference<IWbemClassObject> classObject;
    utils::ComReference<IWbemClassObject> signature;
    utils::ComReference<IWbemClassObject> object;
};

// With a new, empty output object of the method. That is null when the namespace does not give the class, the class
// does not give the method, or the method has no output; the first two are logged, from the function that asks.
OutParameters spawnOutParameters(const utils::LogSite& caller, const std::string& className,
                                 const std::string& methodName, IWbemServices* pNamespace, IWbemContext* pCtx);

}  // namespace wa
