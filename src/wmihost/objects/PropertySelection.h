#pragma once

#include <optional>
#include <string>
#include <vector>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The names of the properties that the flags of BeginEnumeration and GetNames select, for a class or for an instance of
// it. Nothing if the flags contradict each other.
std::optional<std::vector<std::wstring>> selectedNames(const ClassDefinition& definition, bool isInstance, LONG flags);

}  // namespace wmihost
