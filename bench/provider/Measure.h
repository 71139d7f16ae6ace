#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace bench {

// The results of repeated measurements. Half of the values lie between the quartiles.
struct Sample
{
    double median = 0;
    double lowerQuartile = 0;
    double upperQuartile = 0;
    double least = 0;
};

// Needs at least one value. Throws nothing.
Sample summarise(std::vector<double> values);

// One side of a comparison and the floor with which it is compared.
struct Comparison
{
    // Nanoseconds per call.
    Sample subject;
    Sample floor;
    // Ratio of subject to floor, pair by pair.
    Sample ratio;
    // The same ratio with the floor that also does the work that cannot be prepared.
    Sample allowedRatio;
    // Ratio of the shortest runs, which other programs disturbed least.
    double leastRatio = 0;
    std::size_t callsPerRun = 0;
    std::size_t runs = 0;
};

// The number of repetitions for things that are not compared in short runs.
inline constexpr std::size_t LONG_RUNS = 21;

// Returns the mean time of one of `calls` calls in nanoseconds.
double timeOf(std::size_t calls, const std::function<void()>& call);

// Measures all three by turns, so that other load on the machine affects each alike. The runs are so short that most
// end before the scheduler gives the processor to another program.
Comparison compare(const std::function<void()>& subject, const std::function<void()>& floor,
                   const std::function<void()>& allowedFloor);

}  // namespace bench
