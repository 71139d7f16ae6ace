#include <atomic>
#include <cstdint>
#include <string>

#include "Os/Windows/Platform.h"
#include "Utils/Exception.h"
#include "Utils/Log.h"
#include "Utils/Mutex.h"

namespace utils {

// Statistics for whoever looks with a debugger; nothing reads them. Counted without an interlocked instruction: a lost
// count does not matter, a slower lock does.
std::atomic<std::uint32_t> mutexLockCount{0};
std::atomic<std::uint32_t> mutexUnlockCount{0};

namespace {

constexpr const char* FILE_NAME = "Os/Windows/WindowsMutex";

void count(std::atomic<std::uint32_t>& counter) noexcept
{
    counter.store(counter.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

}  // namespace

Mutex::Mutex() : m_handle(CreateMutexA(nullptr, FALSE, nullptr))
{
    if (m_handle == nullptr) {
        const std::string message =
            format("Could not create mutex %p. Error %d", static_cast<void*>(this), static_cast<int>(GetLastError()));
        logError(FILE_NAME, "utils::Mutex::Mutex", __LINE__, message);
        throw Exception(message);
    }
}

Mutex::~Mutex()
{
    static constexpr LogSite here{FILE_NAME, "utils::Mutex::~Mutex"};
    if (!CloseHandle(m_handle)) {
        here.error("Could not close mutex %p. Error %d", this, GetLastError());
    }
}

void Mutex::lock() noexcept
{
    static constexpr LogSite here{FILE_NAME, "utils::Mutex::Lock"};
    // An abandoned mutex is reported as a failure too, although this thread then owns it.
    if (WaitForSingleObject(m_handle, INFINITE) != WAIT_OBJECT_0) {
        here.error("Error locking mutex %p. Error %d", this, GetLastError());
    }
    count(mutexLockCount);
}

void Mutex::unlock() noexcept
{
    static constexpr LogSite here{FILE_NAME, "utils::Mutex::Unlock"};
    if (!ReleaseMutex(m_handle)) {
        // The text of the lock failure, on purpose: administrators' filters know this one text for both.
        here.error("Error locking mutex %p. Error %d", this, GetLastError());
    }
    count(mutexUnlockCount);
}

}  // namespace utils
