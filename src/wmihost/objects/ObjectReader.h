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

// The properties of an object of any implementation, without the system's. A clone is walked, so that an
// enumeration that the object's owner has under way is left alone. Returns a failure of the object.
HRESULT readProperties(IWbemClassObject& object, std::vector<NamedValue>& properties);

// The value of a property, system or not; no value if there is no such property.
Variant valueOf(IWbemClassObject& object, std::wstring_view name);

// The same as text; empty where there is no value.
std::wstring textOf(IWbemClassObject& object, std::wstring_view name);

}  // namespace wmihost
