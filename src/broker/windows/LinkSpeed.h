#pragma once

#include <cstdint>
#include <optional>

namespace broker {

// The platform reports an unknown speed as 0 or as all ones.
constexpr std::optional<std::uint64_t> knownSpeed(std::uint64_t bitsPerSecond) noexcept
{
    return bitsPerSecond == 0 || bitsPerSecond == ~std::uint64_t{0} ? std::nullopt : std::make_optional(bitsPerSecond);
}

}  // namespace broker
