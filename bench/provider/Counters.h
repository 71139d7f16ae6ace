#pragma once

#include <cstdint>

#include "Os/Windows/Platform.h"
#include "support/ImportHook.h"

namespace bench {

// What the provider did.
struct Counts
{
    std::uint64_t lockPairs = 0;
    std::uint64_t mutexes = 0;
    std::uint64_t heapAllocations = 0;
    std::uint64_t bstrs = 0;
    std::uint64_t textsFormatted = 0;
    // The most bytes of its heap that were in use at one time.
    std::int64_t peakHeapBytes = 0;

    bool operator==(const Counts&) const = default;
};

// While it lives, counts what the provider asks of the kernel, the heap and the BSTR allocator, and the locks of the
// lists that this program handed to it. Not what happens inside an Uncounted. One at a time, and one thread at work.
class Counters
{
public:
    explicit Counters(HMODULE provider);
    ~Counters();
    Counters(const Counters&) = delete;
    Counters& operator=(const Counters&) = delete;

    // Since it was made.
    static Counts read();

private:
    support::ImportHook m_wait;
    support::ImportHook m_ownWait;
    support::ImportHook m_create;
    support::ImportHook m_malloc;
    support::ImportHook m_libraryMalloc;
    support::ImportHook m_libraryFree;
    support::ImportHook m_bstr;
    support::ImportHook m_format;
};

// A scope of work that is not the provider's, where the broker does it.
class Uncounted
{
public:
    Uncounted() noexcept;
    ~Uncounted();
    Uncounted(const Uncounted&) = delete;
    Uncounted& operator=(const Uncounted&) = delete;
};

}  // namespace bench
