#pragma once

#include <functional>
#include <map>
#include <string>

#include "reliability/Accounts.h"
#include "reliability/Scenario.h"
#include "reliability/faults/Fault.h"

// Makes the platform calls of a request fail one after the other, and collects the results for the tables.
namespace reliability {

// A request in which one call may fail.
struct Attempt
{
    Outcome disturbed;
    // A further request to the same modules, in which nothing fails.
    Outcome next;
    // The text of leaksText().
    std::string leaks;
    // The calls of the function, and whether the one that should fail was among them.
    int calls = 0;
    bool fired = false;
};

// Returns what is left after the modules are gone, as text for the message of a failed test; empty if nothing is left.
std::string leaksText(const ModuleMemory& memory, const Balance& before, const Balance& after);

// One row of a table: the results of failing each call of one function.
struct Row
{
    int calls = 0;
    int fired = 0;
    std::map<std::string, int> effects;
};

std::string effectsText(const Row& row);

// Repeats the request. In the first attempt, the function's first call fails. In each further attempt, the call fails
// that comes `step` calls later. Stops when the function has no such call. The current test fails if an effect is not
// permitted, if something is left behind, or if the next request differs from `normal`'s.
Row failEveryCall(const std::string& request, Scenario scenario, const FaultPoint& point, int step,
                  const Attempt& normal, const std::function<Attempt(int call)>& attempt);

// True when ZERIX_EVERY_CALL requests that every call fails. If not, and a function has hundreds, a sample fails.
bool everyCall();

}  // namespace reliability
