#include "bench/provider/Measure.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>

namespace bench {

namespace {

// Long beside the clock's step and a time slice's end, short beside anyone's patience.
constexpr double RUN_NANOSECONDS = 30e6;

std::size_t callsPerRun(const std::function<void()>& call)
{
    const double once = timeOf(3, call);
    return std::max<std::size_t>(1, static_cast<std::size_t>(std::ceil(RUN_NANOSECONDS / once)));
}

}  // namespace

Sample summarise(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    const double median = values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    return {median, values.front(), values.back()};
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
                   const std::function<void()>& textFloor)
{
    Comparison result;
    result.callsPerRun = callsPerRun(subject);
    const std::array<const std::function<void()>*, 3> sides{&subject, &floor, &textFloor};
    std::array<std::vector<double>, 3> times;
    for (std::size_t run = 0; run < RUNS; ++run) {
        // Another one begins each time: none always runs on what the same neighbour left in the caches.
        for (std::size_t turn = 0; turn < sides.size(); ++turn) {
            const std::size_t side = (run + turn) % sides.size();
            times[side].push_back(timeOf(result.callsPerRun, *sides[side]));
        }
    }
    std::vector<double> ratios;
    std::vector<double> textRatios;
    for (std::size_t run = 0; run < RUNS; ++run) {
        ratios.push_back(times[0][run] / times[1][run]);
        textRatios.push_back(times[0][run] / times[2][run]);
    }
    result.subject = summarise(times[0]);
    result.floor = summarise(times[1]);
    result.ratio = summarise(ratios);
    result.textRatio = summarise(textRatios);
    return result;
}

}  // namespace bench
