#pragma once

#include <string>

#include "wmihost/com/Com.h"
#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The definition of a class that a service delivered: the properties, methods and qualifiers that the object lists.
// Some services deliver an instance instead of the class; its values do not count as defaults. Throws RequestError if
// the object does not list its properties.
ClassPointer readClass(IWbemClassObject& object, const std::wstring& nameSpace);

}  // namespace wmihost
