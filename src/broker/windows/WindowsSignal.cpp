#include "broker/windows/WindowsSignal.h"

#include <algorithm>

#include "Utils/Exception.h"

namespace broker {

HANDLE makeEvent(EventKind kind)
{
    const HANDLE event = CreateEventA(nullptr, kind == EventKind::EVERY_WAIT ? TRUE : FALSE, FALSE, nullptr);
    if (event == nullptr) {
        throw utils::Exception("Could not create event. Error %d", static_cast<int>(GetLastError()));
    }
    return event;
}

bool WindowsSignal::wait(std::chrono::milliseconds limit) noexcept
{
    constexpr std::chrono::milliseconds ENDLESS{INFINITE};
    return WaitForSingleObject(m_event, static_cast<DWORD>(std::min(limit, ENDLESS).count())) == WAIT_OBJECT_0;
}

}  // namespace broker
