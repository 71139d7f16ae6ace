#pragma once

#include <string>

#include "Os/Windows/ComScope.h"
#include "Os/Windows/Platform.h"
#include "Utils/Log.h"

namespace wa {

// A method's output object with the signature and the class that it comes from. They are released from the last to the
// first.
struct OutParameters
{
    utils::ComReference<IWbemClassObject> classObject;
    utils::ComReference<IWbemClassObject> signature;
    utils::ComReference<IWbemClassObject> object;
};

// Spawns a new, empty output object of the method. The object is null when the namespace does not give the class, the
// class does not give the method, or the method has no output. The first two are error lines of the caller's.
OutParameters spawnOutParameters(const utils::LogSite& caller, const std::string& className,
                                 const std::string& methodName, IWbemServices* pNamespace, IWbemContext* pCtx);

}  // namespace wa
