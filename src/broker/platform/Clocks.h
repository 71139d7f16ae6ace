#pragma once

#include <chrono>

namespace broker {

// A moment of the calendar, in UTC: what is shown and stored. It jumps when somebody sets the clock.
using WallTime = std::chrono::sys_time<std::chrono::microseconds>;

// A moment of a clock that nobody can set: what is due, and how long something took. It means nothing to another
// process.
using SteadyTime = std::chrono::time_point<std::chrono::steady_clock, std::chrono::microseconds>;

}  // namespace broker
