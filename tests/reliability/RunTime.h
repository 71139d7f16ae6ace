#pragma once

#include <chrono>
#include <cstdlib>

namespace reliability {

// The duration of a run without a fixed length: ZERIX_SECONDS, or a few seconds in the ordinary run.
inline std::chrono::seconds runTime()
{
    const char* const text = std::getenv("ZERIX_SECONDS");
    return std::chrono::seconds(text == nullptr ? 8 : std::atoi(text));
}

}  // namespace reliability
