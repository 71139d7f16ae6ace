#pragma once

#include <chrono>
#include <cstdlib>

namespace reliability {

// How long a run of no fixed length takes: ZERIX_SECONDS, or the few seconds of the ordinary run.
inline std::chrono::seconds runTime()
{
    const char* const text = std::getenv("ZERIX_SECONDS");
    return std::chrono::seconds(text == nullptr ? 8 : std::atoi(text));
}

}  // namespace reliability
