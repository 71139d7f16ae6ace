#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "wmihost/repository/CimType.h"

namespace wmihost {

struct NamedValue
{
    std::wstring name;
    Variant value;
    CIMTYPE type = CIM_STRING;
};

// Reads the properties of an object of any implementation, without the system's. It walks a clone, so that it does not
// disturb an enumeration by the object's owner. Returns the object's failure, if any.
HRESULT readProperties(IWbemClassObject& object, std::vector<NamedValue>& properties);

// The value of a property, which may be the system's. VT_NULL if the property does not exist.
Variant valueOf(IWbemClassObject& object, std::wstring_view name);

// The same as a text; empty if there is no value.
std::wstring textOf(IWbemClassObject& object, std::wstring_view name);

}  // namespace wmihost
