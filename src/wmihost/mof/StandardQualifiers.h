#pragma once

#include "wmihost/mof/MofQualifiers.h"

namespace wmihost::mof {

// Declares the qualifiers that DSP0004 defines and those that WMI documents, with their types, scopes and flavors.
void addStandardQualifiers(QualifierTable& qualifiers);

}  // namespace wmihost::mof
