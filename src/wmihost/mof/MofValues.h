#pragma once

#include "wmihost/mof/MofContext.h"

// The values of properties and qualifiers.

namespace wmihost::mof {

// The value that the node spells for a property or parameter: its type, its class and its qualifiers decide what an
// instance or an alias means there. Throws MofError.
Variant readValue(Context& context, const Node& node, const Property& target);

// The value that the node spells for a qualifier of that type. Throws MofError.
Variant readValue(Context& context, const Node& node, CIMTYPE type);

// What "instance of X { ... }" says, whether or not the keys have values. Throws MofError.
InstanceData readInstance(Context& context, const Node& node);

// The first alias below the node that nothing has defined so far; null if there is none.
const Node* undefinedAlias(const Context& context, const Node& node);

}  // namespace wmihost::mof
