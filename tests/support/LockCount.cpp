#include "support/LockCount.h"

#include <atomic>

// The product keeps this counter for debuggers, so no header declares it.
namespace utils {

extern std::atomic<std::uint32_t> mutexLockCount;
extern std::atomic<std::uint32_t> mutexUnlockCount;

}  // namespace utils

namespace support {

std::uint32_t locksTaken()
{
    return utils::mutexLockCount.load();
}

std::uint32_t locksReleased()
{
    return utils::mutexUnlockCount.load();
}

}  // namespace support
