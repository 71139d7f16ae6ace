#pragma once

#include <cstdint>

// The number of times that a utils::Mutex of this program was taken and released. Exact while one thread uses locks.
// Defined once for Windows and once natively.
namespace support {

std::uint32_t locksTaken();
std::uint32_t locksReleased();

// Returns the number of locks that `action` takes.
template <class Action>
std::uint32_t locksTakenBy(const Action& action)
{
    const std::uint32_t before = locksTaken();
    action();
    return locksTaken() - before;
}

}  // namespace support
