#include "bench/provider/Measure.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>

namespace bench {

namespace {

// Long in comparison with the clock's step of a hundred nanoseconds.
constexpr double RUN_NANOSECONDS = 0.1e6;
// The limit for all runs of one comparison together.
constexpr double BUDGET_NANOSECONDS = 3e9;
constexpr double LEAST_RUNS = 9;
constexpr double MOST_RUNS = 301;

std::size_t toCount(double number)
{
    return static_cast<std::size_t>(std::ceil(number));
}

}  // namespace

Sample summarise(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t last = values.size() - 1;
    // Each quantile is the nearest measured value.
    return {values[last / 2], values[last / 4], values[last - last / 4], values.front()};
}

double timeOf(std::size_t calls, const std::function<void()>& call)
{
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < calls; ++i) {
        call();
    }
    const auto end = std::chrono::steady_clock::now();
    return std::chrono::duration<double, std::nano>(end - start).count() / static_cast<double>(calls);
}

Comparison compare(const std::function<void()>& subject, const std::function<void()>& floor,
                   const std::function<void()>& allowedFloor)
{
    const double once = std::min({timeOf(3, subject), timeOf(3, subject), timeOf(3, subject)});
    Comparison result;
    result.callsPerRun = std::max<std::size_t>(1, toCount(RUN_NANOSECONDS / once));
    const double run = once * static_cast<double>(result.callsPerRun);
    const std::array<const std::function<void()>*, 3> sides{&subject, &floor, &allowedFloor};
    result.runs =
        toCount(std::clamp(BUDGET_NANOSECONDS / (run * static_cast<double>(sides.size())), LEAST_RUNS, MOST_RUNS));
    std::array<std::vector<double>, 3> times;
    for (std::size_t number = 0; number < result.runs; ++number) {
        // A different side begins each time, so that no side always follows the same other side and its cache contents.
        for (std::size_t turn = 0; turn < sides.size(); ++turn) {
            const std::size_t side = (number + turn) % sides.size();
            times[side].push_back(timeOf(result.callsPerRun, *sides[side]));
        }
    }
    std::vector<double> ratios;
    std::vector<double> allowedRatios;
    for (std::size_t number = 0; number < result.runs; ++number) {
        ratios.push_back(times[0][number] / times[1][number]);
        allowedRatios.push_back(times[0][number] / times[2][number]);
    }
    result.subject = summarise(times[0]);
    result.floor = summarise(times[1]);
    result.ratio = summarise(ratios);
    result.allowedRatio = summarise(allowedRatios);
    result.leastRatio = result.subject.least / result.floor.least;
    return result;
}

}  // namespace bench
