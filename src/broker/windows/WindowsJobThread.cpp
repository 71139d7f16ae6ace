#include "broker/windows/WindowsJobThread.h"

#include "Utils/Log.h"
#include "broker/windows/WindowsSignal.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "WindowsJobThread";

// This module, with an additional reference; null if the platform refuses.
HMODULE holdThisModule() noexcept
{
    static constexpr char SOME_ADDRESS = 0;
    HMODULE module = nullptr;
    return GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, &SOME_ADDRESS, &module) ? module : nullptr;
}

}  // namespace

WindowsJobThread::WindowsJobThread() : m_wakeUp(makeEvent(EventKind::ONE_WAIT)) {}

WindowsJobThread::~WindowsJobThread()
{
    CloseHandle(m_wakeUp);
}

bool WindowsJobThread::start(JobWork& work) noexcept
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::WindowsJobThread::start"};
    m_work = &work;
    m_module = holdThisModule();
    if (m_module == nullptr) {
        here.error("GetModuleHandleEx error %d", GetLastError());
        return false;
    }
    const HANDLE thread = CreateThread(nullptr, 0, &run, this, 0, nullptr);
    if (thread == nullptr) {
        here.error("CreateThread error %d", GetLastError());
        FreeLibrary(m_module);
        return false;
    }
    CloseHandle(thread);
    return true;
}

std::unique_ptr<Signal> WindowsJobThread::makeSignal()
{
    return std::make_unique<WindowsSignal>();
}

void WindowsJobThread::wake() noexcept
{
    SetEvent(m_wakeUp);
}

DWORD WINAPI WindowsJobThread::run(void* self)
{
    const auto* thread = static_cast<const WindowsJobThread*>(self);
    const HMODULE module = thread->m_module;
    thread->runWork();
    // If this is the last reference, the module is unloaded with this object and this code. So the call never returns.
    FreeLibraryAndExitThread(module, 0);
}

void WindowsJobThread::runWork() const
{
    while (const std::optional<std::chrono::milliseconds> pause = m_work->work()) {
        WaitForSingleObject(m_wakeUp, static_cast<DWORD>(pause->count()));
    }
}

}  // namespace broker
