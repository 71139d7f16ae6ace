#pragma once

#include <optional>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The value as the property stores it, or nothing where WMI answers WBEM_E_TYPE_MISMATCH: converted to the property's
// type, with a copy of each embedded object, which must be of the property's class if it names one.
std::optional<Variant> storedValue(const Property& property, const VARIANT& value);

// A copy of a stored value that its receiver may change: embedded objects are copied, too. Throws std::bad_alloc.
Variant ownCopy(const Variant& value);

}  // namespace wmihost
