#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "wmihost/com/Variant.h"

namespace wmihost {

// What the host knows of a CIM type. CIMTYPE values may carry CIM_FLAG_ARRAY; the entries do not.
struct CimTypeInfo
{
    CIMTYPE type;
    std::wstring_view name;  // as the MOF spells it
    VARTYPE variant;         // the type of VARIANT in which WMI carries a value
};

// A text that is no value of its type; what() says, in UTF-8, which values there are.
class ValueError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The type of that name (without case); null if there is none. References have no name of their own.
const CimTypeInfo* findCimType(std::wstring_view name);

// Whether the number is a CIM type, with or without the array flag.
bool isCimType(CIMTYPE type);

// The entry of a type, with or without the array flag. The type must be one of CIM's.
const CimTypeInfo& infoOf(CIMTYPE type);

constexpr bool isArray(CIMTYPE type)
{
    return (type & CIM_FLAG_ARRAY) != 0;
}
constexpr CIMTYPE elementTypeOf(CIMTYPE type)
{
    return type & ~CIM_FLAG_ARRAY;
}

// The value as WMI stores it in a property of that type, or nothing where WMI answers WBEM_E_TYPE_MISMATCH.
// A value that has the right type already is stored as it is, so VT_BOOL 1 stays 1 and a text keeps its
// bytes; any other is converted as VariantChangeType would. Texts of 64-bit numbers become plain decimals, arrays
// of VARIANTs arrays of the type, and a value by reference is read. No value (VT_NULL, VT_EMPTY) fits every type.
std::optional<Variant> coerce(const VARIANT& value, CIMTYPE type);

// A stored scalar as plain text: unsigned types without sign, booleans as TRUE and FALSE, reals in the fewest digits
// that give the same number again.
std::wstring scalarText(const VARIANT& value, CIMTYPE type);

// The value that a user's text means for a property of that type. Elements of an array are separated by
// commas; an empty text is an array without elements. Throws ValueError.
Variant valueFromText(std::wstring_view text, CIMTYPE type);

}  // namespace wmihost
