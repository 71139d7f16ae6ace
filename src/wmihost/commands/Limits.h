#pragma once

#include <string>
#include <vector>

#include "wmihost/commands/Commands.h"

namespace wmihost {

// The reasons, according to the qualifiers of a class, for refusing these changes: a property that is not `write`, a
// number below MinValue or above MaxValue, a text longer than MaxLen or shorter than MinLen, or a value that the
// ValueMap does not have. One sentence for each; empty if there is none. Throws as valueOfText does.
std::string refusedChanges(const ClassDefinition& definition, const std::vector<Assignment>& changes);

// The same for the arguments of a method, which need not be `write`.
std::string refusedArguments(const ClassDefinition& parameters, const std::vector<Assignment>& arguments);

// Throws the error again, with those sentences appended to its message.
[[noreturn]] void throwWithObjections(const RequestError& error, const std::string& objections);

}  // namespace wmihost
