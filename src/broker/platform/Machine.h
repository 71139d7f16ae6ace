#pragma once

#include <chrono>
#include <string>

namespace broker {

// A moment of the calendar, in UTC: what is shown and stored. It jumps when somebody sets the clock.
using WallTime = std::chrono::sys_time<std::chrono::microseconds>;

// A moment of a clock that nobody can set: what is due, and how long something took. It means nothing to another
// process.
using SteadyTime = std::chrono::time_point<std::chrono::steady_clock, std::chrono::microseconds>;

// Platform boundary: what the broker asks of the machine besides its adapters.
// CONTRACT: any thread, several at once.
class Machine
{
public:
    Machine() = default;
    virtual ~Machine() = default;
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // Never empty.
    virtual std::string computerName() = 0;

    // The identity of the calling thread with its domain, or an empty text when the platform does not tell.
    virtual std::string userName() = 0;

    virtual WallTime now() noexcept = 0;

    virtual SteadyTime steadyNow() noexcept = 0;
};

}  // namespace broker
