#include "bench/provider/KernelCalls.h"

#include <atomic>

namespace bench {

namespace {

HANDLE WINAPI noCreateMutex(LPSECURITY_ATTRIBUTES /*security*/, BOOL /*owned*/, LPCSTR /*name*/)
{
    static char anything = 0;
    return &anything;
}

BOOL WINAPI noCloseHandle(HANDLE /*handle*/)
{
    return TRUE;
}

DWORD WINAPI noWait(HANDLE /*handle*/, DWORD /*milliseconds*/)
{
    return WAIT_OBJECT_0;
}

BOOL WINAPI noReleaseMutex(HANDLE /*handle*/)
{
    return TRUE;
}

BOOL WINAPI noThreadToken(HANDLE /*thread*/, DWORD /*access*/, BOOL /*asSelf*/, PHANDLE /*token*/)
{
    SetLastError(ERROR_NO_TOKEN);
    return FALSE;
}

// Set by one thread at a time: with the kernel there is one client only.
std::atomic<bool> locksAreFree{false};

// As they are exported, whatever stands in this program's import table.
decltype(&WaitForSingleObject) realWait = nullptr;
decltype(&ReleaseMutex) realReleaseMutex = nullptr;

DWORD WINAPI waitUnlessFree(HANDLE handle, DWORD milliseconds)
{
    return locksAreFree.load(std::memory_order_relaxed) ? WAIT_OBJECT_0 : realWait(handle, milliseconds);
}

BOOL WINAPI releaseUnlessFree(HANDLE handle)
{
    return locksAreFree.load(std::memory_order_relaxed) ? TRUE : realReleaseMutex(handle);
}

}  // namespace

KernelCalls::KernelCalls(HMODULE provider, Kernel kernel)
{
    if (kernel == Kernel::none) {
        replace(provider);
        replace(nullptr);
    } else {
        auto wait = std::make_unique<support::ImportHook>("WaitForSingleObject", &waitUnlessFree);
        auto release = std::make_unique<support::ImportHook>("ReleaseMutex", &releaseUnlessFree);
        realWait = wait->original<decltype(&WaitForSingleObject)>();
        realReleaseMutex = release->original<decltype(&ReleaseMutex)>();
        m_hooks.push_back(std::move(wait));
        m_hooks.push_back(std::move(release));
    }
    m_mutex = CreateMutexA(nullptr, FALSE, nullptr);
}

KernelCalls::~KernelCalls()
{
    CloseHandle(m_mutex);
    while (!m_hooks.empty()) {
        m_hooks.pop_back();
    }
}

void KernelCalls::replace(HMODULE module)
{
    const auto hook = [this, module](const char* name, auto* replacement) {
        m_hooks.push_back(std::make_unique<support::ImportHook>(name, replacement, module));
    };
    hook("CreateMutexA", &noCreateMutex);
    hook("CloseHandle", &noCloseHandle);
    hook("WaitForSingleObject", &noWait);
    hook("ReleaseMutex", &noReleaseMutex);
    hook("OpenThreadToken", &noThreadToken);
}

FreeLocks::FreeLocks() noexcept
{
    locksAreFree.store(true, std::memory_order_relaxed);
}

FreeLocks::~FreeLocks()
{
    locksAreFree.store(false, std::memory_order_relaxed);
}

}  // namespace bench
