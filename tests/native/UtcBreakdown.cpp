#include "Utils/UtcBreakdown.h"

namespace utils {

const std::tm* utcBreakdown(std::int64_t seconds)
{
    // The first second that the product's platform cannot break down. Both platforms refuse the same times.
    constexpr std::int64_t FIRST_NOT_REPRESENTED = 32'535'244'800;
    const std::time_t time = seconds;
    return seconds < FIRST_NOT_REPRESENTED ? std::gmtime(&time) : nullptr;
}

}  // namespace utils
