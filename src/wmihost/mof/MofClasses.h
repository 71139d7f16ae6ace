#pragma once

#include "wmihost/mof/MofContext.h"

namespace wmihost::mof {

// The class that the node spells, which need not become one of the namespace. `classQualifiers` may be null. Throws
// MofError.
ClassPointer readClass(Context& context, const Node& node, const Node* classQualifiers);

// Adds the class that the node declares to the current namespace. `classQualifiers` may be null. Throws MofError.
void declareClass(Context& context, const Node& node, const Node* classQualifiers);

}  // namespace wmihost::mof
