#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace bench {

// What repeated measurements of one thing came to. Half of them lie between the quartiles.
struct Sample
{
    double median = 0;
    double lowerQuartile = 0;
    double upperQuartile = 0;
    double least = 0;
};

// Throws nothing; at least one value.
Sample summarise(std::vector<double> values);

// One side of a comparison and what it is compared with.
struct Comparison
{
    // Nanoseconds for one call.
    Sample subject;
    Sample floor;
    // Subject to floor, pair by pair.
    Sample ratio;
    // The same against the floor that is allowed what no one can have ready.
    Sample allowedRatio;
    // The shortest run to the shortest: what comes out when nothing else disturbs.
    double leastRatio = 0;
    std::size_t callsPerRun = 0;
    std::size_t runs = 0;
};

// How often things are measured that are not compared in short runs.
inline constexpr std::size_t LONG_RUNS = 21;

// Nanoseconds that `calls` calls take, divided by their number.
double timeOf(std::size_t calls, const std::function<void()>& call);

// Measures all three by turns, so that whatever else the machine does meets each, in runs so short that most end before
// the scheduler gives the processor to another program.
Comparison compare(const std::function<void()>& subject, const std::function<void()>& floor,
                   const std::function<void()>& allowedFloor);

}  // namespace bench
