#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "Os/Windows/Platform.h"
#include "support/ImportHook.h"

namespace bench {

// Which kernel the two sides of a comparison run on. Without one, the calls that enter the kernel (mutexes and the
// question for the thread's token) answer at once, so that the instructions around them show.
enum class Kernel
{
    real,
    none
};

// While it lives, the modules, the lists that this program made, and the floors run on the kernel of its choice. One at
// a time. A mutex that was made meanwhile must not be used later.
class KernelCalls
{
public:
    KernelCalls(const std::vector<HMODULE>& modules, Kernel kernel);
    KernelCalls(const KernelCalls&) = delete;
    KernelCalls& operator=(const KernelCalls&) = delete;
    ~KernelCalls();

    // Takes and releases a free mutex so many times.
    void lockPairs(std::size_t count) const
    {
        for (std::size_t i = 0; i < count; ++i) {
            WaitForSingleObject(m_mutex, INFINITE);
            ReleaseMutex(m_mutex);
        }
    }

    // Makes and closes so many mutexes.
    static void mutexes(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            CloseHandle(CreateMutexA(nullptr, FALSE, nullptr));
        }
    }

    // What a request does to find out how far it may act for its client; the benchmark's client has no token.
    static void askToken()
    {
        HANDLE token = nullptr;
        OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token);
        GetLastError();
    }

private:
    template <class Function>
    void hook(const char* name, Function* replacement, HMODULE module)
    {
        m_hooks.push_back(std::make_unique<support::ImportHook>(name, replacement, module));
    }
    void replace(HMODULE module);

    // Hooks can be put up and taken down only in order.
    std::vector<std::unique_ptr<support::ImportHook>> m_hooks;
    HANDLE m_mutex;
};

// A scope in which the thread's locks of this program's lists do nothing: what the broker does to fill a list that no
// one else knows yet is not what is measured.
class FreeLocks
{
public:
    FreeLocks() noexcept;
    ~FreeLocks();
    FreeLocks(const FreeLocks&) = delete;
    FreeLocks& operator=(const FreeLocks&) = delete;
};

}  // namespace bench
