#include "Utils/BoundedFormat.h"

#include <cstdio>

namespace utils {

int formatBounded(char* buffer, std::size_t size, const char* format, std::va_list arguments)
{
    return std::vsnprintf(buffer, size, format, arguments);
}

}  // namespace utils
