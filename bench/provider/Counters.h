#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Os/Windows/Platform.h"
#include "support/ImportHook.h"

namespace bench {

// The calls that the counted modules made.
struct Counts
{
    std::uint64_t lockPairs = 0;
    std::uint64_t mutexes = 0;
    std::uint64_t heapAllocations = 0;
    std::uint64_t bstrs = 0;
    std::uint64_t textsFormatted = 0;
    // The most bytes of heap in use at one time.
    std::int64_t peakHeapBytes = 0;

    bool operator==(const Counts&) const = default;
};

// While it lives, counts the modules' calls of the kernel, the heap and the BSTR allocator, and the locks of the lists
// that this program passed to them. Skips the scopes of Uncounted. One object at a time; one thread may work.
class Counters
{
public:
    explicit Counters(const std::vector<HMODULE>& modules);
    ~Counters();
    Counters(const Counters&) = delete;
    Counters& operator=(const Counters&) = delete;

    // The counts since construction.
    static Counts read();

private:
    template <class Function>
    void hook(const char* name, Function* replacement, HMODULE module);

    std::vector<std::unique_ptr<support::ImportHook>> m_hooks;
};

// A scope of work that the real broker does, not the provider. Nothing in it is counted.
class Uncounted
{
public:
    Uncounted() noexcept;
    ~Uncounted();
    Uncounted(const Uncounted&) = delete;
    Uncounted& operator=(const Uncounted&) = delete;
};

}  // namespace bench
