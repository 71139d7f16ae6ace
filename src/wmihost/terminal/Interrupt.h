#pragma once

#include <chrono>

namespace wmihost {

// The exit code of a program that Ctrl+C ended, as in shells.
inline constexpr int INTERRUPTED_EXIT = 130;

// From now on Ctrl+C and Ctrl+Break end the process with that exit code. Called once.
void endOnInterrupt();

// While a guard lives, the first Ctrl+C does not end the process. The guard's owner must check for it and end its work.
// A second Ctrl+C ends the process.
class InterruptGuard
{
public:
    InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;
    ~InterruptGuard();

    bool interrupted() const;
    // Waits for that time. Returns false if it was interrupted.
    bool pause(std::chrono::milliseconds time) const;
};

}  // namespace wmihost
