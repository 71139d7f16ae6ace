#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// Compiling these texts gives the same classes and values again.

// The MOF of a class: its own qualifiers, properties and methods, not the inherited ones. Lines end in "\n".
std::wstring classText(const ClassDefinition& definition, bool withFlavors);

// The MOF of an instance: the properties that have a value, and those that are null although their class has a default.
std::wstring instanceText(const ClassDefinition& definition, const std::vector<Variant>& values);

// The type of a property as the MOF spells it: "uint16", "Zerix_EthernetPort ref". Without the [] of arrays.
std::wstring typeText(const Property& property);

// A stored value as the MOF spells it: quoted texts, {lists}, NULL, instances. A real that is not finite has no
// spelling and is NULL.
std::wstring mofLiteral(const VARIANT& value, CIMTYPE type);

// A text between quotes, escaped for MOF.
std::wstring mofQuoted(std::wstring_view text);

}  // namespace wmihost
