#pragma once

#include <optional>
#include <string>
#include <vector>

#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The names that the flags of BeginEnumeration and GetNames choose of a class, or of an instance of it. Nothing for
// flags that contradict each other.
std::optional<std::vector<std::wstring>> selectedNames(const ClassDefinition& definition, bool isInstance, LONG flags);

}  // namespace wmihost
