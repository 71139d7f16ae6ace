#pragma once

#include <string>

#include "Os/Windows/ComScope.h"
#include "Os/Windows/Platform.h"
#include "Utils/Log.h"

namespace wa {

// A new, empty output object of the method. Null when the namespace does not give the class, the class does not give
// the method, or the method has no output; the first two are logged, from the function that asks.
utils::ComReference<IWbemClassObject> spawnOutParameters(const utils::LogSite& caller, const std::string& className,
                                                         const std::string& methodName, IWbemServices* pNamespace,
                                                         IWbemContext* pCtx);

}  // namespace wa
