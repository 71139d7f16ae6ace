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

// The seed of a run with random input: ZERIX_SEED, or 1.
inline unsigned seed()
{
    const char* const text = std::getenv("ZERIX_SEED");
    return text == nullptr ? 1 : static_cast<unsigned>(std::atoi(text));
}

}  // namespace reliability
