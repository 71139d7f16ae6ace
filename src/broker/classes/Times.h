#pragma once

#include <chrono>

#include "Utils/Time.h"
#include "broker/platform/Machine.h"

namespace broker {

// Moments and lengths of time as the classes show them.

inline utils::Time timestamp(WallTime time)
{
    return utils::Time::timestamp(static_cast<std::uint64_t>(time.time_since_epoch().count()));
}

inline utils::Time period(std::chrono::microseconds length)
{
    return utils::Time::period(static_cast<std::uint64_t>(length.count()));
}

}  // namespace broker
