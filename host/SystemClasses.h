#pragma once

#include "host/ClassRepository.h"

namespace host {

// Adds the classes that WMI puts into every new namespace, as far as registrations and methods need them.
void addSystemClasses(Namespace& target);

}  // namespace host
