#pragma once

#include <string>

#include "Os/Windows/Platform.h"
#include "core/CimProperty.h"
#include "core/CimPropertyList.h"

// Values as short texts, so that a test compares type and value at once.
namespace support {

// "VT_I4 -1", "VT_BSTR 'text'", "VT_NULL", "VT_ARRAY|VT_I4 {1, 2}", "VT_ARRAY|VT_BSTR without an array". Any other type
// is "VARTYPE n".
std::string describe(const VARIANT& value);

// Describes and clears a value that the caller owns.
std::string describeAndClear(VARIANT value);

// "Name = uint16 5", "Name = uint16 null", "Names = string[] {'a', 'b'}", "Port = ref to 'C.k="v"'".
std::string describe(const core::CimProperty& property);

// Describes and deletes a property that the caller owns. Returns "no property" for null.
std::string describeAndDelete(core::CimProperty* property);

// Returns the properties that are not overridden, in order, joined by "; ".
std::string describe(core::CimPropertyList& properties);

}  // namespace support
