#pragma once

#include <memory>

#include "support/ImportHook.h"

namespace support {

template <class Function, auto Wrapper>
class WrappedImport;

// A module's calls of an imported function go to Wrapper, which receives the original function and the arguments:
//
//     constexpr auto refused = [](auto original, auto... arguments) { return isOver ? original(arguments...) : 0; };
//     const auto hook = WrappedImport<decltype(GetTickCount), refused>::install("GetTickCount", module);
//
// One hook of a type at a time.
template <class Result, class... Arguments, auto Wrapper>
class WrappedImport<Result(Arguments...), Wrapper>
{
public:
    static std::unique_ptr<ImportHook> install(const char* function, HMODULE module)
    {
        auto hook = std::make_unique<ImportHook>(function, &call, module);
        s_original = hook->template original<Result (*)(Arguments...)>();
        return hook;
    }

private:
    static Result call(Arguments... arguments) { return Wrapper(s_original, arguments...); }

    static inline Result (*s_original)(Arguments...) = nullptr;
};

}  // namespace support
