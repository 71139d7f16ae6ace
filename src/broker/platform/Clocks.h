#pragma once

#include <chrono>

namespace broker {

// A moment of the calendar, in UTC, to be shown and stored. This clock jumps when somebody sets it.
using WallTime = std::chrono::sys_time<std::chrono::microseconds>;

// A moment of a clock that nobody can set, for what is due and for how long something took. Only this process can
// interpret it.
using SteadyTime = std::chrono::time_point<std::chrono::steady_clock, std::chrono::microseconds>;

}  // namespace broker
