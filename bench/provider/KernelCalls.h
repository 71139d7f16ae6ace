#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "Os/Windows/Platform.h"
#include "support/ImportHook.h"

namespace bench {

// The kernel on which both sides of a comparison run. Without a kernel, the calls that enter it (mutexes and the query
// of the thread's token) return at once, so that the instructions around them become visible.
enum class Kernel
{
    REAL,
    NONE
};

// While it lives, the modules, this program's lists and the floors run on the chosen kernel. One object at a time. A
// mutex that is created meanwhile must not be used later.
class KernelCalls
{
public:
    KernelCalls(const std::vector<HMODULE>& modules, Kernel kernel);
    KernelCalls(const KernelCalls&) = delete;
    KernelCalls& operator=(const KernelCalls&) = delete;
    ~KernelCalls();

    // Takes and releases a free mutex this many times.
    void lockPairs(std::size_t count) const
    {
        for (std::size_t i = 0; i < count; ++i) {
            WaitForSingleObject(m_mutex, INFINITE);
            ReleaseMutex(m_mutex);
        }
    }

    // Creates and closes this many mutexes.
    static void mutexes(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            CloseHandle(CreateMutexA(nullptr, FALSE, nullptr));
        }
    }

    // The calls by which a request finds the client's impersonation level. The benchmark's client has no token.
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

    // Hooks must be removed in the reverse order of their installation.
    std::vector<std::unique_ptr<support::ImportHook>> m_hooks;
    HANDLE m_mutex;
};

// A scope in which this thread does not lock this program's lists. The broker fills a list that no other thread knows
// yet, and that work is not measured.
class FreeLocks
{
public:
    FreeLocks() noexcept;
    ~FreeLocks();
    FreeLocks(const FreeLocks&) = delete;
    FreeLocks& operator=(const FreeLocks&) = delete;
};

}  // namespace bench
