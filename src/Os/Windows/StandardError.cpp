#include <stdio.h>

#include "Utils/LogSinks.h"

namespace utils {

void writeStandardError(const char* line) noexcept
{
    fprintf(stderr, line);
}

}  // namespace utils
