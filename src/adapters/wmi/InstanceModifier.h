#pragma once

#include "Os/Windows/Platform.h"
#include "Utils/Singleton.h"

namespace wa {

// Writes a client's changed object back through the broker. Stateless; any thread.
class InstanceModifier : public utils::AutoSingleton<InstanceModifier>
{
public:
    static constexpr const char* qualifiedName = "wa::InstanceModifier";

    // Sends the object's properties, but for keys and system properties, to the instance at its path. Whatever the
    // broker throws is turned into the status that is returned; what is wrong with the object itself (null, no path,
    // values of impossible types) leaves as an exception.
    virtual HRESULT modifyInstance(IWbemClassObject* wmiInst);
};

}  // namespace wa
