#pragma once

#include "support/ImportHook.h"

namespace support {

// While it lives, a module's kernel mutexes are counted numbers, since real ones take most of a request's time under
// Wine. No handle of the platform has such a number. Nobody waits for such a mutex: threads use the module in turn.
class CountedMutexes
{
public:
    explicit CountedMutexes(HMODULE module);

    // For a module that is being unloaded: it closes its last mutexes then.
    void abandon() noexcept;

    // Of all modules: the mutexes that are open now, the most that were open at any moment, and the locks taken.
    static int open() noexcept;
    static int most() noexcept;
    static int locks() noexcept;

private:
    ImportHook m_create;
    ImportHook m_wait;
    ImportHook m_release;
    ImportHook m_close;
};

}  // namespace support
