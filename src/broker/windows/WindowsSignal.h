#pragma once

#include "Os/Windows/Platform.h"
#include "broker/platform/JobThread.h"

namespace broker {

enum class EventKind
{
    // Lets one wait pass each time it is raised.
    ONE_WAIT,
    // Lets every wait pass from then on.
    EVERY_WAIT
};

// An event that the caller closes. Throws utils::Exception if the platform refuses.
HANDLE makeEvent(EventKind kind);

class WindowsSignal final : public Signal
{
public:
    WindowsSignal() : m_event(makeEvent(EventKind::EVERY_WAIT)) {}
    ~WindowsSignal() override { CloseHandle(m_event); }
    WindowsSignal(const WindowsSignal&) = delete;
    WindowsSignal& operator=(const WindowsSignal&) = delete;

    void raise() noexcept override { SetEvent(m_event); }
    bool wait(std::chrono::milliseconds limit) noexcept override;

private:
    HANDLE m_event;
};

}  // namespace broker
