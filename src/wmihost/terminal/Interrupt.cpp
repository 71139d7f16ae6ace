#include "wmihost/terminal/Interrupt.h"

#include <atomic>

#include "wmihost/com/Platform.h"

namespace wmihost {
namespace {

std::atomic<int> guards = 0;

// Set by the first interrupt under a guard.
HANDLE interruptEvent()
{
    static const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return event;
}

bool isSet()
{
    return WaitForSingleObject(interruptEvent(), 0) == WAIT_OBJECT_0;
}

// The platform calls this on a thread that it starts.
BOOL WINAPI onControlEvent(DWORD event)
{
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        return FALSE;
    }
    if (guards == 0 || isSet()) {
        // ExitProcess could hang, since the provider's threads may hold a lock that the unloading of its DLL waits for.
        TerminateProcess(GetCurrentProcess(), INTERRUPTED_EXIT);
    }
    SetEvent(interruptEvent());
    return TRUE;
}

}  // namespace

void endOnInterrupt()
{
    interruptEvent();
    SetConsoleCtrlHandler(onControlEvent, TRUE);
}

InterruptGuard::InterruptGuard()
{
    ResetEvent(interruptEvent());
    ++guards;
}

InterruptGuard::~InterruptGuard()
{
    --guards;
    ResetEvent(interruptEvent());
}

bool InterruptGuard::interrupted() const
{
    return isSet();
}

bool InterruptGuard::pause(std::chrono::milliseconds time) const
{
    return WaitForSingleObject(interruptEvent(), static_cast<DWORD>(time.count())) == WAIT_TIMEOUT;
}

}  // namespace wmihost
