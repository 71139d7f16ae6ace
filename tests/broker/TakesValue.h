#pragma once

#include "Utils/Exception.h"
#include "core/CimInstance.h"

namespace support {

// Returns whether the property accepts the value. All kinds of refusal count alike.
template <class Property, class Value>
bool takes(core::CimInstance& instance, const char* name, Value value)
{
    Property newValue(name);
    newValue.setValue(value);
    try {
        instance.getProperties().findProperty(name)->verify(&newValue);
        return true;
    } catch (const utils::EInvalidParameter&) {
        return false;
    }
}

}  // namespace support
