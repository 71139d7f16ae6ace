#pragma once

#include <chrono>

namespace wmihost {

// The exit code of a program that Ctrl+C ended, as shells have it.
inline constexpr int interruptedExit = 130;

// From now on Ctrl+C and Ctrl+Break end the process with that exit code. Called once.
void endOnInterrupt();

// As long as one lives, the first Ctrl+C does not end the process: its owner finds out, and ends what it does. A second
// one does.
class InterruptGuard
{
public:
    InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;
    ~InterruptGuard();

    bool interrupted() const;
    // Waits that long. Returns whether it was not interrupted.
    bool pause(std::chrono::milliseconds time) const;
};

}  // namespace wmihost
