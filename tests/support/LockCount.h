#pragma once

#include <cstdint>

// How often any utils::Mutex of this program has been taken and released so far. Exact while one thread uses locks;
// defined once for Windows and once natively.
namespace support {

std::uint32_t locksTaken();
std::uint32_t locksReleased();

// The locks that `action` takes.
template <class Action>
std::uint32_t locksTakenBy(const Action& action)
{
    const std::uint32_t before = locksTaken();
    action();
    return locksTaken() - before;
}

}  // namespace support
