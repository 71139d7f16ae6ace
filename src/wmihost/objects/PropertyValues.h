#pragma once

#include <optional>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The value converted to the property's type, with copies of embedded objects. Nothing if WMI would answer
// WBEM_E_TYPE_MISMATCH, for example because an embedded object is not of the property's class.
std::optional<Variant> storedValue(const Property& property, const VARIANT& value);

// A copy of a stored value that its receiver may change: embedded objects are copied, too. Throws std::bad_alloc.
Variant ownCopy(const Variant& value);

}  // namespace wmihost
