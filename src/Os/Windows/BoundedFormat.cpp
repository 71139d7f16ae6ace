#include "Utils/BoundedFormat.h"

#include <stdio.h>

namespace utils {

int formatBounded(char* buffer, std::size_t size, const char* format, std::va_list arguments)
{
    // The platform's own formatter, not std::vsnprintf, which this compiler's library maps to another one: "%p" and
    // "%I64u" read differently there.
    return _vsnprintf(buffer, size, format, arguments);
}

}  // namespace utils
