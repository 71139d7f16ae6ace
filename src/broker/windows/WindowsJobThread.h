#pragma once

#include "Os/Windows/Platform.h"
#include "broker/platform/JobThread.h"

namespace broker {

// A platform thread that holds a reference to this module and releases it as its last action. So nothing has to wait
// for it, neither when the module is unloaded nor when the process ends.
class WindowsJobThread : public JobThread
{
public:
    // Throws utils::Exception if the platform refuses an event.
    WindowsJobThread();
    ~WindowsJobThread() override;

    bool start(JobWork& work) noexcept override;
    void wake() noexcept override;
    std::unique_ptr<Signal> makeSignal() override;

private:
    static DWORD WINAPI run(void* self);
    void runWork() const;

    HANDLE m_wakeUp;
    // Written before a thread starts. The thread reads it before it leaves its work.
    HMODULE m_module = nullptr;
    JobWork* m_work = nullptr;
};

}  // namespace broker
