#pragma once

#include <cxxabi.h>
#include <unwind.h>

#include <typeinfo>

// What the Itanium C++ ABI (Exception Handling, 2.2) says of an exception in memory, as far as an exception that was
// caught can be raised once more without a new allocation. Tests with hosts of both kinds hold the run time to it.
namespace wa {

// Stands directly in front of the object that was thrown.
struct ExceptionHead
{
    std::type_info* type;
    void (*destroy)(void*);
    void (*unexpected)();
    void (*terminate)();
    ExceptionHead* nextCaught;
    // Handlers that are at work on it. The run time leaves the last one counted when it is done.
    int handlers;
    int handlerSwitch;
    const unsigned char* actions;
    const unsigned char* handlerTable;
    void* catchPad;
    void* adjustedObject;
    _Unwind_Exception unwinding;
};

inline ExceptionHead& headOf(void* exception) noexcept
{
    return static_cast<ExceptionHead*>(exception)[-1];
}

// What the run time keeps of the calling thread.
struct ThreadExceptions
{
    ExceptionHead* caught;
    unsigned uncaught;
};

inline ThreadExceptions& exceptionsOfThisThread() noexcept
{
    return *reinterpret_cast<ThreadExceptions*>(abi::__cxa_get_globals());
}

}  // namespace wa
