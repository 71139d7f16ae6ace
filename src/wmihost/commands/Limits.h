#pragma once

#include <string>
#include <vector>

#include "wmihost/commands/Commands.h"

namespace wmihost {

// Why a class, by what it states of its properties, would refuse to have them set to these values: a property that is
// not `write`, a number below MinValue or above MaxValue, a text longer than MaxLen or shorter than MinLen, a value
// that the ValueMap does not have. A sentence for each; empty if there is none. Throws as valueOfText does.
std::string refusedChanges(const ClassDefinition& definition, const std::vector<Assignment>& changes);

// The same for the arguments of a method, which need not be `write`.
std::string refusedArguments(const ClassDefinition& parameters, const std::vector<Assignment>& arguments);

// Throws the error anew, with those sentences behind what it says already.
[[noreturn]] void throwWithObjections(const RequestError& error, const std::string& objections);

}  // namespace wmihost
