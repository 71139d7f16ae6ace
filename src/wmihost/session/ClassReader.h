#pragma once

#include <string>

#include "wmihost/com/Com.h"
#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The definition of a class that a service handed out: its properties, methods and qualifiers, as far as the object
// tells them. Some services answer with an instance in place of the class; its values are not taken for defaults.
// Throws RequestError if the object does not list its properties.
ClassPointer readClass(IWbemClassObject& object, const std::wstring& nameSpace);

}  // namespace wmihost
