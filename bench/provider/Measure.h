#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace bench {

struct Sample
{
    double median = 0;
    double least = 0;
    double most = 0;
};

// Throws nothing; at least one value.
Sample summarise(std::vector<double> values);

struct Comparison
{
    // Nanoseconds for one call.
    Sample subject;
    Sample floor;
    // Subject to floor, pair by pair.
    Sample ratio;
    // The same against the floor that makes its texts.
    Sample textRatio;
    std::size_t callsPerRun = 0;
};

// How often a pair is measured.
inline constexpr std::size_t RUNS = 9;

// Nanoseconds that `calls` calls take, divided by their number.
double timeOf(std::size_t calls, const std::function<void()>& call);

// Measures all three by turns, so that whatever else the machine does meets each. Runs are as long as the clock needs.
Comparison compare(const std::function<void()>& subject, const std::function<void()>& floor,
                   const std::function<void()>& textFloor);

}  // namespace bench
