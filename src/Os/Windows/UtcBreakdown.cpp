#include "Utils/UtcBreakdown.h"

#include <time.h>

namespace utils {

const std::tm* utcBreakdown(std::int64_t seconds)
{
    const __time64_t time = seconds;
    return _gmtime64(&time);
}

}  // namespace utils
