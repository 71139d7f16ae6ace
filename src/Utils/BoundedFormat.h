#pragma once

#include <cstdarg>
#include <cstddef>

namespace utils {

// Platform boundary: printf-style formatting into a buffer of `size` bytes.
// CONTRACT: returns the number of characters the whole text has, without the terminator, or a negative number
// when it does not fit; a return of `size` or more also means that it did not fit. In both of those cases the first
// size - 1 characters are in the buffer, and a terminator may be missing. Safe from any thread.
int formatBounded(char* buffer, std::size_t size, const char* format, std::va_list arguments);

}  // namespace utils
