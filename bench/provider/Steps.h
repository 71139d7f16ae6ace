#pragma once

#include <functional>
#include <string>

#include "Os/Windows/Platform.h"

// The marks that this program sends to count_steps (bench/native/StepCounter.cpp), which runs it and counts
// instructions. Without count_steps the first mark ends the program.
namespace bench {

// Assigns the instructions of a loaded module to the group.
void markModule(const char* group, const char* module);

// Assigns the instructions of the module's function, and of the functions that it calls, to the group.
void markFunction(const char* group, const char* module, const char* function);

// Counts the instructions of one call under the name.
void countSteps(const std::string& name, const std::function<void()>& call);

}  // namespace bench
