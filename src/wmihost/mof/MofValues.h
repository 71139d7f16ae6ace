#pragma once

#include "wmihost/mof/MofContext.h"

// The values of properties and qualifiers.

namespace wmihost::mof {

// The value that the node spells for a property or parameter, whose type, class and qualifiers decide about the meaning
// of an instance or an alias. Throws MofError.
Variant readValue(Context& context, const Node& node, const Property& target);

// The value that the node spells for a qualifier of that type. Throws MofError.
Variant readValue(Context& context, const Node& node, CIMTYPE type);

// The instance of an "instance of X { ... }". Its keys may lack values. Throws MofError.
InstanceData readInstance(Context& context, const Node& node);

// The first alias below the node that is not defined yet; null if there is none.
const Node* undefinedAlias(const Context& context, const Node& node);

}  // namespace wmihost::mof
