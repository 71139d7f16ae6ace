#pragma once

#include "Os/Windows/Platform.h"
#include "broker/platform/JobThread.h"

namespace broker {

// A bare platform thread that holds a reference to this module and gives it up in the moment it ends: so nothing needs
// to wait for it, neither at the module's unloading nor at the process's end.
class WindowsJobThread : public JobThread
{
public:
    // Throws utils::Exception when the platform refuses an event.
    WindowsJobThread();
    ~WindowsJobThread() override;

    bool start(JobWork& work) noexcept override;
    void wake() noexcept override;
    std::unique_ptr<Signal> makeSignal() override;

private:
    static DWORD WINAPI run(void* self);
    void runWork() const;

    HANDLE m_wakeUp;
    // Written before a thread starts, and read by it before it leaves its work.
    HMODULE m_module = nullptr;
    JobWork* m_work = nullptr;
};

}  // namespace broker
