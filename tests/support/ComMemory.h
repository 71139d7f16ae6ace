#pragma once

#include <atomic>

#include "Os/Windows/Platform.h"

namespace support {

// Counts COM's memory blocks: each BSTR and each part of a SAFEARRAY is one block. Start the program with OANOCACHE=1:
// otherwise a cache keeps freed BSTRs and the constructor throws std::runtime_error. One object at a time.
class ComMemory final : public IMallocSpy
{
public:
    ComMemory();
    ~ComMemory();
    ComMemory(const ComMemory&) = delete;
    ComMemory& operator=(const ComMemory&) = delete;

    // The number of blocks that were allocated since construction and are not freed yet.
    int live() const noexcept { return m_live; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T size) override { return size; }
    void* STDMETHODCALLTYPE PostAlloc(void* block) override;
    void* STDMETHODCALLTYPE PreFree(void* block, BOOL ours) override;
    void STDMETHODCALLTYPE PostFree(BOOL) override {}
    SIZE_T STDMETHODCALLTYPE PreRealloc(void* block, SIZE_T size, void** moved, BOOL ours) override;
    void* STDMETHODCALLTYPE PostRealloc(void* block, BOOL) override { return block; }
    void* STDMETHODCALLTYPE PreGetSize(void* block, BOOL) override { return block; }
    SIZE_T STDMETHODCALLTYPE PostGetSize(SIZE_T size, BOOL) override { return size; }
    void* STDMETHODCALLTYPE PreDidAlloc(void* block, BOOL) override { return block; }
    int STDMETHODCALLTYPE PostDidAlloc(void*, BOOL, int answer) override { return answer; }
    void STDMETHODCALLTYPE PreHeapMinimize() override {}
    void STDMETHODCALLTYPE PostHeapMinimize() override {}

private:
    std::atomic<int> m_live{0};
};

}  // namespace support
