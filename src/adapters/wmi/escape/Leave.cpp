#include <exception>

#include "adapters/wmi/escape/Escape.h"
#include "adapters/wmi/escape/ExceptionHead.h"

// Compiled with -fno-exceptions: the frames of this file have no cleanup that a raised exception could stop at.
namespace wa {

namespace {

// Raises a caught exception once more, and hands its reference to whoever catches it.
[[noreturn]] void raise(void* exception)
{
    ExceptionHead& head = headOf(exception);
    head.handlers = 0;
    ++exceptionsOfThisThread().uncaught;
    _Unwind_RaiseException(&head.unwinding);
    // No frame catches it.
    abi::__cxa_begin_catch(&head.unwinding);
    std::terminate();
}

}  // namespace

HRESULT leave(Outcome outcome)
{
    if (outcome.escaping != nullptr) {
        raise(outcome.escaping);
    }
    return outcome.status;
}

}  // namespace wa
