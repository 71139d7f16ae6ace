#pragma once

#include <string>

#include "wmihost/mof/MofNode.h"
#include "wmihost/repository/CimType.h"

namespace wmihost::mof {

// All pieces of a text literal as one text, without quotes and escapes.
std::wstring textOf(const Node& node);

bool isInteger(const Node& node);

// The type of a value whose qualifier is not declared.
CIMTYPE literalType(const Node& node);

// The value of a text, number, character or boolean for an element of that type. Hexadecimal, octal and binary
// numbers may give the bits of a signed type: 0xFF is -1 for a sint8. Throws MofError where the value does not fit.
Variant literal(const Node& node, CIMTYPE type);

}  // namespace wmihost::mof
