#include "Utils/Time.h"

#include "Utils/Assert.h"
#include "Utils/Mutex.h"
#include "Utils/UtcBreakdown.h"

namespace utils {

namespace {

constexpr std::uint64_t MICROSECONDS = 1'000'000;

// Guards the storage that every UTC breakdown of the process shares.
Mutex& breakdownMutex()
{
    static Mutex mutex;
    return mutex;
}

}  // namespace

Time::Period Time::decomposePeriod() const
{
    static constexpr LogSite here{"Utils/Time", "utils::Time::decomposePeriod"};
    ASSERT(here, this->isPeriod());
    const std::uint64_t seconds = value / MICROSECONDS;
    return {static_cast<std::uint32_t>(seconds / 86'400), static_cast<std::uint32_t>(seconds / 3'600 % 24),
            static_cast<std::uint32_t>(seconds / 60 % 60), static_cast<std::uint32_t>(seconds % 60)};
}

Time::Fields Time::decomposeTimestamp() const
{
    static constexpr LogSite here{"Utils/Time", "utils::Time::decomposeTimestamp"};
    ASSERT(here, this->isTimestamp);
    const MutexGuard guard(breakdownMutex());
    const std::tm* ptm = utcBreakdown(static_cast<std::int64_t>(value / MICROSECONDS));
    ASSERT(here, ptm != NULL);
    return {static_cast<std::uint32_t>(ptm->tm_year + 1900), static_cast<std::uint32_t>(ptm->tm_mon + 1),
            static_cast<std::uint32_t>(ptm->tm_mday),        static_cast<std::uint32_t>(ptm->tm_hour),
            static_cast<std::uint32_t>(ptm->tm_min),         static_cast<std::uint32_t>(ptm->tm_sec)};
}

Time::Fields Time::decompose() const
{
    if (isTimestamp) {
        return decomposeTimestamp();
    }
    const Period period = decomposePeriod();
    return {0, 0, period.days, period.hours, period.minutes, period.seconds};
}

}  // namespace utils
