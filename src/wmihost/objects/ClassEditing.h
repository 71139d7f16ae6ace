#pragma once

#include <string_view>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// Whether the name may be that of a class or property which is not the system's: letters, digits, underscores and
// characters outside ASCII, a letter first, no underscore at either end.
bool isUserName(std::wstring_view name);

// What IWbemClassObject::Put does to a class: sets the default of a property, adds one, or names the class. Returns
// the code that WMI documents; on failure the contents of the definition are unspecified.
HRESULT putToClass(ClassDefinition& definition, std::wstring_view name, const VARIANT& value, CIMTYPE type);

// What IWbemClassObject::Delete does to a property of a class that is not the system's.
HRESULT deleteFromClass(ClassDefinition& definition, std::wstring_view name);

}  // namespace wmihost
