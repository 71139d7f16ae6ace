#pragma once

#include "wmihost/repository/ClassRepository.h"

namespace wmihost {

// Adds those of WMI's classes for new namespaces that registrations and methods need.
void addSystemClasses(Namespace& target);

}  // namespace wmihost
