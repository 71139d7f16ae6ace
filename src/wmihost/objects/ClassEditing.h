#pragma once

#include <string_view>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// Whether a class or a property, apart from the system's, may have the name. It consists of letters, digits,
// underscores and characters outside ASCII; it begins with a letter and has no underscore at either end.
bool isUserName(std::wstring_view name);

// Implements IWbemClassObject::Put for a class: sets the default of a property, adds a property, or names the class.
// Returns the code that WMI documents; on failure the contents of the definition are unspecified.
HRESULT putToClass(ClassDefinition& definition, std::wstring_view name, const VARIANT& value, CIMTYPE type);

// Implements IWbemClassObject::Delete for a property of a class, apart from the system's.
HRESULT deleteFromClass(ClassDefinition& definition, std::wstring_view name);

}  // namespace wmihost
