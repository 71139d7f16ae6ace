#include "bench/provider/Counters.h"

#include <malloc.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "support/RunTimeName.h"

namespace bench {

namespace {

Counts counts;
std::int64_t heapBytes = 0;
int pauses = 1;

bool counting() noexcept
{
    return pauses == 0;
}

// The exported function, because this program's own calls are counted too.
decltype(&WaitForSingleObject) realWait = nullptr;

DWORD WINAPI countedWait(HANDLE handle, DWORD milliseconds)
{
    // Only a lock waits without a limit. A wait with a limit is a query of an event.
    counts.lockPairs += counting() && milliseconds == INFINITE ? 1 : 0;
    return realWait(handle, milliseconds);
}

HANDLE WINAPI countedCreate(LPSECURITY_ATTRIBUTES security, BOOL owned, LPCSTR name)
{
    counts.mutexes += counting() ? 1 : 0;
    return CreateMutexA(security, owned, name);
}

void* __cdecl countedMalloc(std::size_t size)
{
    void* const block = std::malloc(size);
    if (counting() && block != nullptr) {
        ++counts.heapAllocations;
        heapBytes += static_cast<std::int64_t>(_msize(block));
        counts.peakHeapBytes = std::max(counts.peakHeapBytes, heapBytes);
    }
    return block;
}

void __cdecl countedFree(void* block)
{
    if (counting() && block != nullptr) {
        heapBytes -= static_cast<std::int64_t>(_msize(block));
    }
    std::free(block);
}

BSTR WINAPI countedBstr(const OLECHAR* text, UINT length)
{
    counts.bstrs += counting() ? 1 : 0;
    return SysAllocStringLen(text, length);
}

int __cdecl countedFormat(char* buffer, std::size_t size, const char* format, std::va_list arguments)
{
    counts.textsFormatted += counting() ? 1 : 0;
    return _vsnprintf(buffer, size, format, arguments);
}

}  // namespace

template <class Function>
void Counters::hook(const char* name, Function* replacement, HMODULE module)
{
    if (support::importsFunction(module, name)) {
        m_hooks.push_back(std::make_unique<support::ImportHook>(name, replacement, module));
    }
}

Counters::Counters(const std::vector<HMODULE>& modules)
{
    realWait = &WaitForSingleObject;
    hook("WaitForSingleObject", &countedWait, GetModuleHandleA(nullptr));
    for (const HMODULE module : modules) {
        hook("WaitForSingleObject", &countedWait, module);
        hook("CreateMutexA", &countedCreate, module);
        hook("malloc", &countedMalloc, module);
        hook("SysAllocStringLen", &countedBstr, module);
        hook("_vsnprintf", &countedFormat, module);
    }
    // operator new is in the shared C++ library, so its memory comes through the imports of that library.
    const HMODULE runTime = GetModuleHandleA(support::RUN_TIME);
    hook("malloc", &countedMalloc, runTime);
    hook("free", &countedFree, runTime);
    counts = {};
    heapBytes = 0;
    pauses = 0;
}

Counters::~Counters()
{
    pauses = 1;
    while (!m_hooks.empty()) {
        m_hooks.pop_back();
    }
}

Counts Counters::read()
{
    return counts;
}

Uncounted::Uncounted() noexcept
{
    ++pauses;
}

Uncounted::~Uncounted()
{
    --pauses;
}

}  // namespace bench
