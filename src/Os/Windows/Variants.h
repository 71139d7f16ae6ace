#pragma once

#include <string>
#include <vector>

#include "Os/Windows/Platform.h"

namespace utils {

// The array of a VARIANT of an array type, which stays its owner; null where there is none: a VARIANT by reference may
// point to nothing.
SAFEARRAY* arrayOf(const VARIANT& value) noexcept;

// The elements of the one-dimensional array in `value`, in order; none when it is no array. An element that cannot be
// read is logged and left out. The caller owns what the elements own and clears each.
std::vector<VARIANT> expandVariantArray(const VARIANT& value);

// The value as text in the ANSI code page: "<NULL>" for VT_NULL, "{a, b}" for an array, words for booleans. A value
// that has no text gives "error 0x%X with ChangeType". Throws _com_error when the value cannot be copied.
std::string variantToString(const VARIANT& value);

}  // namespace utils
