#pragma once

#include <atomic>

#include "support/ImportHook.h"

namespace support {

template <class Function, auto RESULT, DWORD CODE = ERROR_SUCCESS>
class CountedRefusal;

// While it lives, one module's calls of a platform function are counted, and do nothing but set the last error and
// return the result. Where the count does not matter, an ImportHook with returning() says the same.
// One object of a type at a time.
//
//     const support::CountedRefusal<decltype(&FreeLibrary), TRUE> release("FreeLibrary");
template <class Result, class... Arguments, auto RESULT, DWORD CODE>
class CountedRefusal<Result(WINAPI*)(Arguments...), RESULT, CODE>
{
public:
    // As for an ImportHook.
    explicit CountedRefusal(const char* function, HMODULE module = nullptr) : m_hook(function, &refuse, module)
    {
        s_calls = 0;
    }

    int calls() const noexcept { return s_calls; }

private:
    static Result WINAPI refuse(Arguments... /*arguments*/)
    {
        ++s_calls;
        SetLastError(CODE);
        return RESULT;
    }

    static inline std::atomic<int> s_calls{0};

    ImportHook m_hook;
};

}  // namespace support
