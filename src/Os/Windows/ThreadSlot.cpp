#include "Utils/ThreadSlot.h"

#include <cstdint>

#include "Os/Windows/Platform.h"
#include "Utils/Exception.h"

namespace utils {

namespace {

DWORD indexOf(void* handle) noexcept
{
    return static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(handle));
}

}  // namespace

ThreadSlot::ThreadSlot(void (*atEnd)(void* value))
{
    // A fiber-local slot works like a thread-local one and also calls back when a thread ends.
    const DWORD index = FlsAlloc(atEnd);
    if (index == FLS_OUT_OF_INDEXES) {
        throw Exception("Could not create a thread slot. Error %d", static_cast<int>(GetLastError()));
    }
    m_handle = reinterpret_cast<void*>(static_cast<std::uintptr_t>(index));
}

ThreadSlot::~ThreadSlot()
{
    FlsFree(indexOf(m_handle));
}

void* ThreadSlot::get() const noexcept
{
    return FlsGetValue(indexOf(m_handle));
}

bool ThreadSlot::set(void* value) noexcept
{
    return FlsSetValue(indexOf(m_handle), value) != FALSE;
}

}  // namespace utils
