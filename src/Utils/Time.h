#pragma once

#include <cstdint>

namespace utils {

// The value of a CIM datetime: a point in time or a duration, in microseconds.
struct Time
{
    struct Period
    {
        std::uint32_t days;
        std::uint32_t hours;
        std::uint32_t minutes;
        std::uint32_t seconds;
    };

    struct Fields
    {
        std::uint32_t year;
        std::uint32_t month;
        std::uint32_t day;
        std::uint32_t hour;
        std::uint32_t minute;
        std::uint32_t second;
    };

    // Microseconds since 1970-01-01 00:00:00 UTC, or the length of the period.
    std::uint64_t value = 0;
    bool isTimestamp = false;

    static Time timestamp(std::uint64_t microseconds) noexcept { return {microseconds, true}; }
    static Time period(std::uint64_t microseconds) noexcept { return {microseconds, false}; }

    bool isPeriod() const noexcept { return !isTimestamp; }

    // Whole seconds as days (not capped), hours, minutes, seconds. Throws utils::Exception for a timestamp.
    Period decomposePeriod() const;

    // Calendar fields in UTC, month and day from 1. Throws utils::Exception for a period, and for a time that the
    // platform cannot break down. Any thread.
    Fields decomposeTimestamp() const;

    // Either kind; a period has year and month 0, and its days in the day slot.
    Fields decompose() const;

    friend bool operator==(const Time&, const Time&) = default;
};

}  // namespace utils
