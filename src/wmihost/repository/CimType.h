#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "wmihost/com/Variant.h"

namespace wmihost {

// An entry of the table of CIM types, which has no entries for arrays.
struct CimTypeInfo
{
    CIMTYPE type;
    std::wstring_view name;  // in MOF
    VARTYPE variant;         // the VARIANT type of WMI for its values
};

// A text that is not a value of its type; what() says in UTF-8 which values there are.
class ValueError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The type of that name (without case); null if there is none. References have no name.
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

// Whether a value of the type is a text; false for arrays.
constexpr bool isTextual(CIMTYPE type)
{
    return type == CIM_STRING || type == CIM_DATETIME || type == CIM_REFERENCE;
}
// Whether a value of the type is a number, as a CIM_CHAR16 is; false for arrays.
constexpr bool isNumeric(CIMTYPE type)
{
    return !isArray(type) && !isTextual(type) && type != CIM_BOOLEAN && type != CIM_OBJECT;
}

// The value as WMI stores it in a property of that type, or nothing if WMI would answer WBEM_E_TYPE_MISMATCH. A value
// of the right type is stored as it is, so VT_BOOL 1 stays 1 and a text keeps its bytes. Any other value is converted
// as by VariantChangeType. Texts of 64-bit numbers become plain decimals, arrays of VARIANTs become arrays of the type,
// and references to values are followed. VT_NULL and VT_EMPTY fit every type.
std::optional<Variant> coerce(const VARIANT& value, CIMTYPE type);

// A stored scalar as plain text: unsigned types without sign, booleans as TRUE and FALSE, reals in the fewest digits
// that give the same number again.
std::wstring scalarText(const VARIANT& value, CIMTYPE type);

// The value of that type that a user's text spells. Commas separate the elements of an array; an empty text is an array
// without elements. Throws ValueError.
Variant valueFromText(std::wstring_view text, CIMTYPE type);

}  // namespace wmihost
