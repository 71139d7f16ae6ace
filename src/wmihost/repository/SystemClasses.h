#pragma once

#include "wmihost/repository/ClassRepository.h"

namespace wmihost {

// Adds the classes that WMI puts into every new namespace, as far as registrations and methods need them.
void addSystemClasses(Namespace& target);

}  // namespace wmihost
