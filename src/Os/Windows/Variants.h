#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Os/Windows/Platform.h"

namespace utils {

// VARIANTs of a value. The caller owns what one owns, and clears it.
VARIANT byteVariant(std::uint8_t value) noexcept;
VARIANT numberVariant(std::int32_t value) noexcept;
// True is 1, not VARIANT_TRUE.
VARIANT boolVariant(bool value) noexcept;
// A text in the ANSI code page. Throws _com_error(E_OUTOFMEMORY) when it cannot be allocated.
VARIANT textVariant(const std::string& text);
// Takes over the array, which may be null: a VARIANT of the type without a value.
VARIANT arrayVariant(VARTYPE elements, SAFEARRAY* array) noexcept;

// The array of a VARIANT of an array type, which stays its owner; null where there is none: a VARIANT by reference may
// point to nothing.
SAFEARRAY* arrayOf(const VARIANT& value) noexcept;

// The elements of the one-dimensional array in `value`, in order; none when it is not one. An element that cannot be
// read is logged and left out. The caller owns what the elements own and clears each.
std::vector<VARIANT> expandVariantArray(const VARIANT& value);

// The value as text in the ANSI code page: "<NULL>" for VT_NULL, "{a, b}" for an array, words for booleans. A value
// that has no text gives "error 0x%X with ChangeType". Throws _com_error when the value cannot be copied.
std::string variantToString(const VARIANT& value);

}  // namespace utils
