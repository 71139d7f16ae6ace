#pragma once

#include <functional>
#include <string>

#include "Os/Windows/Platform.h"

// What this program says to count_steps (bench/native/StepCounter.cpp), which runs it and counts instructions. Without
// count_steps the first mark ends the program.
namespace bench {

// Instructions of the module, which must be loaded, belong to the group.
void markModule(const char* group, const char* module);

// Instructions of the module's function and of what it calls belong to the group.
void markFunction(const char* group, const char* module, const char* function);

// Counts the instructions of one call, under the name.
void countSteps(const std::string& name, const std::function<void()>& call);

}  // namespace bench
