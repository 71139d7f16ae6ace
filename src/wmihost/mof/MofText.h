#pragma once

#include <string>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The MOF of a class: its own qualifiers, properties and methods, not the inherited ones. Lines end in "\n".
std::wstring classText(const ClassDefinition& definition, bool withFlavors);

// The MOF of an instance: the properties that have a value.
std::wstring instanceText(const ClassDefinition& definition, const std::vector<Variant>& values);

// The type of a property as the MOF spells it: "uint16", "Zerix_EthernetPort ref". Without the [] of arrays.
std::wstring typeText(const Property& property);

}  // namespace wmihost
