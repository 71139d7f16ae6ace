#include "support/ComMemory.h"

#include <stdexcept>

namespace support {

ComMemory::ComMemory()
{
    if (FAILED(CoRegisterMallocSpy(this))) {
        throw std::runtime_error("COM's memory is watched already");
    }
}

ComMemory::~ComMemory()
{
    CoRevokeMallocSpy();
}

HRESULT ComMemory::QueryInterface(REFIID riid, void** object)
{
    const bool known = IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IMallocSpy);
    *object = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
}

void* ComMemory::PostAlloc(void* block)
{
    if (block != nullptr) {
        ++m_live;
    }
    return block;
}

void* ComMemory::PreFree(void* block, BOOL ours)
{
    if (block != nullptr && ours) {
        --m_live;
    }
    return block;
}

SIZE_T ComMemory::PreRealloc(void* block, SIZE_T size, void** moved, BOOL ours)
{
    // A block that a resize allocates or frees counts like any other.
    if (block == nullptr && size != 0) {
        ++m_live;
    } else if (block != nullptr && size == 0 && ours) {
        --m_live;
    }
    *moved = block;
    return size;
}

}  // namespace support
