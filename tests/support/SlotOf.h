#pragma once

#include <bit>
#include <cstddef>
#include <vector>

namespace support {

// Returns the index in the virtual table of a virtual function, read from a pointer to the member function.
// A virtual destructor occupies two entries of the table at the place of its declaration.
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

// The same for several functions, in the order given.
template <class... Functions>
std::vector<std::size_t> slotsOf(Functions... functions)
{
    return {slotOf(functions)...};
}

}  // namespace support
