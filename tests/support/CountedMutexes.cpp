#include "support/CountedMutexes.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace support {

namespace {

constexpr std::uintptr_t FIRST = 1U << 30U;

std::atomic<int> openMutexes{0};
std::atomic<int> mostMutexes{0};
std::atomic<int> locksTaken{0};
std::atomic<std::uintptr_t> nextMutex{FIRST};

bool isCounted(HANDLE handle)
{
    return reinterpret_cast<std::uintptr_t>(handle) >= FIRST;
}

HANDLE WINAPI create(LPSECURITY_ATTRIBUTES, BOOL, LPCSTR)
{
    mostMutexes = std::max<int>(mostMutexes, ++openMutexes);
    return reinterpret_cast<HANDLE>(nextMutex++);
}

DWORD WINAPI wait(HANDLE handle, DWORD timeout)
{
    if (!isCounted(handle)) {
        return WaitForSingleObjectEx(handle, timeout, FALSE);
    }
    ++locksTaken;
    return WAIT_OBJECT_0;
}

BOOL WINAPI release(HANDLE)
{
    return TRUE;
}

BOOL WINAPI close(HANDLE handle)
{
    if (isCounted(handle)) {
        --openMutexes;
        return TRUE;
    }
    return DuplicateHandle(GetCurrentProcess(), handle, nullptr, nullptr, 0, FALSE, DUPLICATE_CLOSE_SOURCE);
}

}  // namespace

CountedMutexes::CountedMutexes(HMODULE module)
    : m_create("CreateMutexA", &create, module),
      m_wait("WaitForSingleObject", &wait, module),
      m_release("ReleaseMutex", &release, module),
      m_close("CloseHandle", &close, module)
{
}

void CountedMutexes::abandon() noexcept
{
    for (ImportHook* const hook : {&m_create, &m_wait, &m_release, &m_close}) {
        hook->abandon();
    }
}

int CountedMutexes::open() noexcept
{
    return openMutexes;
}

int CountedMutexes::most() noexcept
{
    return mostMutexes;
}

int CountedMutexes::locks() noexcept
{
    return locksTaken;
}

}  // namespace support
