#pragma once

#include <cstdint>
#include <ctime>

namespace utils {

// Platform boundary: calendar fields in UTC of a number of seconds since 1970-01-01 00:00:00 UTC.
// CONTRACT: returns null when the time cannot be represented. The result lives in storage that all callers share;
// the caller serialises its calls and copies the fields out before the next one.
const std::tm* utcBreakdown(std::int64_t seconds);

}  // namespace utils
