#pragma once

#include <chrono>

#include "Utils/Time.h"
#include "broker/platform/Machine.h"

namespace broker {

// What the classes show of a moment and of a length of time.

inline utils::Time timestamp(WallTime time)
{
    return utils::Time::timestamp(static_cast<std::uint64_t>(time.time_since_epoch().count()));
}

inline utils::Time period(std::chrono::microseconds length)
{
    return utils::Time::period(static_cast<std::uint64_t>(length.count()));
}

}  // namespace broker
