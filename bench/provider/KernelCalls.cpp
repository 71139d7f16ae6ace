#include "bench/provider/KernelCalls.h"

#include <atomic>

namespace bench {

namespace {

// The functions that this program imports, read before anything is replaced.
decltype(&WaitForSingleObject) realWait = nullptr;
decltype(&ReleaseMutex) realReleaseMutex = nullptr;
decltype(&CloseHandle) realClose = nullptr;

// Its address serves as the handle of every new mutex.
char standIn = 0;

HANDLE WINAPI noCreateMutex(LPSECURITY_ATTRIBUTES /*security*/, BOOL /*owned*/, LPCSTR /*name*/)
{
    return &standIn;
}

BOOL WINAPI noCloseHandle(HANDLE handle)
{
    return handle == &standIn ? TRUE : realClose(handle);
}

DWORD WINAPI noWait(HANDLE handle, DWORD milliseconds)
{
    // Only a lock waits without a limit. A wait with a limit is a query of an event.
    return milliseconds == INFINITE ? WAIT_OBJECT_0 : realWait(handle, milliseconds);
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

// One thread at a time sets it, because there is only one client while the kernel is in use.
std::atomic<bool> locksAreFree{false};

DWORD WINAPI waitUnlessFree(HANDLE handle, DWORD milliseconds)
{
    return locksAreFree.load(std::memory_order_relaxed) ? WAIT_OBJECT_0 : realWait(handle, milliseconds);
}

BOOL WINAPI releaseUnlessFree(HANDLE handle)
{
    return locksAreFree.load(std::memory_order_relaxed) ? TRUE : realReleaseMutex(handle);
}

}  // namespace

KernelCalls::KernelCalls(const std::vector<HMODULE>& modules, Kernel kernel)
{
    realWait = &WaitForSingleObject;
    realReleaseMutex = &ReleaseMutex;
    realClose = &CloseHandle;
    if (kernel == Kernel::NONE) {
        for (const HMODULE module : modules) {
            replace(module);
        }
        replace(nullptr);
    } else {
        hook("WaitForSingleObject", &waitUnlessFree, nullptr);
        hook("ReleaseMutex", &releaseUnlessFree, nullptr);
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
    hook("CreateMutexA", &noCreateMutex, module);
    hook("CloseHandle", &noCloseHandle, module);
    hook("WaitForSingleObject", &noWait, module);
    hook("ReleaseMutex", &noReleaseMutex, module);
    if (support::importsFunction(module != nullptr ? module : GetModuleHandleA(nullptr), "OpenThreadToken")) {
        hook("OpenThreadToken", &noThreadToken, module);
    }
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
