#pragma once

#include <map>
#include <string>

#include "reliability/Scenario.h"
#include "reliability/faults/Fault.h"

// How the tests that make platform calls fail read and write down what became of them.
namespace reliability {

// What the outcome is called among the effects that the failing function may have; empty when it is none of them.
// `normal` is the outcome without a failure.
std::string effectOf(Scenario scenario, const FaultPoint& point, const Outcome& normal, const Outcome& found);

// One row of a table: what became of every call of one function.
struct Row
{
    int calls = 0;
    int fired = 0;
    std::map<std::string, int> effects;
};

std::string effectsText(const Row& row);

// For the message of a failure.
std::string describe(const Outcome& outcome);

// True when ZERIX_EVERY_CALL asks for every call to fail; the ordinary run takes a sample where there are hundreds.
bool everyCall();

}  // namespace reliability
