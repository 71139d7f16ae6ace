#include "Utils/UtcBreakdown.h"

namespace utils {

const std::tm* utcBreakdown(std::int64_t seconds)
{
    // The product's platform ends here; the two agree on what cannot be broken down.
    constexpr std::int64_t FIRST_NOT_REPRESENTED = 32'535'244'800;
    const std::time_t time = seconds;
    return seconds < FIRST_NOT_REPRESENTED ? std::gmtime(&time) : nullptr;
}

}  // namespace utils
