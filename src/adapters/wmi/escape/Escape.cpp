#include "adapters/wmi/escape/Escape.h"

#include <exception>
#include <new>

#include "Utils/ProcessEnd.h"
#include "adapters/wmi/escape/ExceptionHead.h"

namespace wa {

namespace {

// std::exception_ptr is one pointer to the exception, and owns a reference to it.
static_assert(sizeof(std::exception_ptr) == sizeof(void*));

void releaseReference(void* exception) noexcept
{
    std::exception_ptr owner;
    *reinterpret_cast<void**>(&owner) = exception;
}

void* addReference(void* exception) noexcept
{
    std::exception_ptr owner;
    *reinterpret_cast<void**>(&owner) = exception;
    alignas(std::exception_ptr) void* added = nullptr;
    new (&added) std::exception_ptr(owner);
    *reinterpret_cast<void**>(&owner) = nullptr;
    return added;
}

// A handler of C++ code was found for it: that handler frees it. The unwinder notes the handler's frame in its second
// word before it runs the first destructor, and clears the word when an exception is raised.
bool isCaught(void* exception) noexcept
{
    return headOf(exception).unwinding.private_[1] != 0;
}

// The exception that escaped last on each thread, with one reference to it: whether it was caught can be read only
// while it lives. The slot has no destructor that would keep the module loaded for the thread's life; the platform
// calls the function when a thread ends, and for every thread when the slot is freed.
class LastEscapes
{
public:
    LastEscapes() noexcept : m_slot(FlsAlloc(&forget)) {}
    LastEscapes(const LastEscapes&) = delete;
    LastEscapes& operator=(const LastEscapes&) = delete;
    ~LastEscapes()
    {
        if (!utils::processIsEnding()) {
            settle();
            FlsFree(m_slot);
        }
    }

    // Frees what the calling thread's last one has left behind.
    void settle() const noexcept
    {
        void* const exception = take();
        if (exception == nullptr) {
            return;
        }
        if (!isCaught(exception)) {
            --exceptionsOfThisThread().uncaught;
            _Unwind_DeleteException(&headOf(exception).unwinding);
        }
        releaseReference(exception);
    }

    // False when there is no slot, or no memory for the thread's value.
    bool set(void* exception) const noexcept { return FlsSetValue(m_slot, exception) != FALSE; }

private:
    void* take() const noexcept
    {
        void* const exception = FlsGetValue(m_slot);
        if (exception != nullptr) {
            FlsSetValue(m_slot, nullptr);
        }
        return exception;
    }

    // Runs on any thread, so it leaves the count of the thread that raised the exception alone.
    static void WINAPI forget(void* exception) noexcept
    {
        if (exception != nullptr && !utils::processIsEnding()) {
            if (!isCaught(exception)) {
                _Unwind_DeleteException(&headOf(exception).unwinding);
            }
            releaseReference(exception);
        }
    }

    DWORD m_slot;
};

const LastEscapes lastEscapes;

}  // namespace

void settleLastEscape() noexcept
{
    lastEscapes.settle();
}

void* keepCurrentException() noexcept
{
    alignas(std::exception_ptr) void* exception = nullptr;
    new (&exception) std::exception_ptr(std::current_exception());
    if (exception == nullptr) {
        return nullptr;
    }
    // The raised exception owns one reference, the thread's slot another.
    if (!lastEscapes.set(addReference(exception))) {
        releaseReference(exception);
    }
    return exception;
}

}  // namespace wa
