#pragma once

#include <map>
#include <string>

#include "reliability/Scenario.h"
#include "reliability/faults/Fault.h"

// Reads and writes the tables of results of the tests that make platform calls fail.
namespace reliability {

// Returns the name of the outcome if it is one of the function's permitted effects, and otherwise an empty text.
// `normal` is the outcome without a failure.
std::string effectOf(Scenario scenario, const FaultPoint& point, const Outcome& normal, const Outcome& found);

// One row of a table: the results of failing each call of one function.
struct Row
{
    int calls = 0;
    int fired = 0;
    std::map<std::string, int> effects;
};

std::string effectsText(const Row& row);

// Returns the outcome as text for the message of a failed test.
std::string describe(const Outcome& outcome);

// True when ZERIX_EVERY_CALL requests that every call fails. If not, and a function has hundreds, a sample fails.
bool everyCall();

}  // namespace reliability
