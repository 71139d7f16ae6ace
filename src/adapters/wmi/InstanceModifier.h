#pragma once

#include "Os/Windows/Platform.h"
#include "Utils/Singleton.h"

namespace wa {

// Writes a client's changed object back through the broker. Stateless; any thread.
class InstanceModifier : public utils::AutoSingleton<InstanceModifier>
{
public:
    static constexpr const char* qualifiedName = "wa::InstanceModifier";

    // Sends the object's properties, except keys and system properties, to the instance at its path. Every exception of
    // the broker becomes the returned status. An object that is itself wrong (null, no path, values of impossible
    // types) makes it throw.
    virtual HRESULT modifyInstance(IWbemClassObject* wmiInst);
};

}  // namespace wa
