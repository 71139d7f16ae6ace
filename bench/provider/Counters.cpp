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

// As it is exported: this program's own calls are counted as well.
decltype(&WaitForSingleObject) realWait = nullptr;

DWORD WINAPI countedWait(HANDLE handle, DWORD milliseconds)
{
    counts.lockPairs += counting() ? 1 : 0;
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

// operator new stands in the shared C++ library, whose own imports are where its memory comes from.
Counters::Counters(HMODULE provider)
    : m_wait("WaitForSingleObject", &countedWait, provider),
      m_ownWait("WaitForSingleObject", &countedWait),
      m_create("CreateMutexA", &countedCreate, provider),
      m_malloc("malloc", &countedMalloc, provider),
      m_libraryMalloc("malloc", &countedMalloc, GetModuleHandleA(support::RUN_TIME)),
      m_libraryFree("free", &countedFree, GetModuleHandleA(support::RUN_TIME)),
      m_bstr("SysAllocStringLen", &countedBstr, provider),
      m_format("_vsnprintf", &countedFormat, provider)
{
    counts = {};
    realWait = m_wait.original<decltype(&WaitForSingleObject)>();
    heapBytes = 0;
    pauses = 0;
}

Counters::~Counters()
{
    pauses = 1;
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
