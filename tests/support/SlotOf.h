#pragma once

#include <bit>
#include <cstddef>

namespace support {

// The index in its class's virtual table that a virtual function is called through, read out of the pointer to it.
// A virtual destructor takes two entries of the table at the place of its declaration.
template <class Function, class Class>
std::size_t slotOf(Function Class::*function)
{
    struct MemberFunctionPointer
    {
        std::size_t offsetPlusOne;
        std::ptrdiff_t adjustment;
    };
    return (std::bit_cast<MemberFunctionPointer>(function).offsetPlusOne - 1) / sizeof(void*);
}

}  // namespace support
