#include "Utils/Mutex.h"

#include <atomic>
#include <mutex>

#include "support/LockCount.h"

namespace {

std::atomic<std::uint32_t> lockCount{0};
std::atomic<std::uint32_t> unlockCount{0};

}  // namespace

namespace utils {

Mutex::Mutex() : m_handle(new std::recursive_mutex) {}

Mutex::~Mutex()
{
    delete static_cast<std::recursive_mutex*>(m_handle);
}

void Mutex::lock() noexcept
{
    static_cast<std::recursive_mutex*>(m_handle)->lock();
    ++lockCount;
}

void Mutex::unlock() noexcept
{
    static_cast<std::recursive_mutex*>(m_handle)->unlock();
    ++unlockCount;
}

}  // namespace utils

namespace support {

std::uint32_t locksTaken()
{
    return lockCount;
}

std::uint32_t locksReleased()
{
    return unlockCount;
}

}  // namespace support
