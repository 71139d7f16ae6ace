#include "Utils/Time.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <thread>
#include <tuple>

#include "support/LockCount.h"
#include "support/Thrown.h"

namespace {

using utils::Time;

constexpr std::uint64_t SECOND = 1'000'000;
constexpr std::uint64_t FIRST_NOT_REPRESENTED = 32'535'244'800 * SECOND;

using Fields = std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t>;
using Period = std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t>;

Fields all(const Time::Fields& fields)
{
    return {fields.year, fields.month, fields.day, fields.hour, fields.minute, fields.second};
}

Period all(const Time::Period& period)
{
    return {period.days, period.hours, period.minutes, period.seconds};
}

static_assert(sizeof(Time) == 16, "two 64-bit words");
static_assert(offsetof(Time, value) == 0 && offsetof(Time, isTimestamp) == 8);

Fields fieldsOf(std::uint64_t value)
{
    return all(Time::timestamp(value).decomposeTimestamp());
}

// Months and days count from one, and parts of a second are dropped.
TEST(TimeTest, Timestamp_isInUtcFrom1970On)
{
    EXPECT_EQ(fieldsOf(0), Fields(1970, 1, 1, 0, 0, 0));
    EXPECT_EQ(fieldsOf(999'999), Fields(1970, 1, 1, 0, 0, 0));
    EXPECT_EQ(fieldsOf(951'782'399 * SECOND), Fields(2000, 2, 28, 23, 59, 59));
    EXPECT_EQ(fieldsOf(951'782'400 * SECOND), Fields(2000, 2, 29, 0, 0, 0));
    EXPECT_EQ(fieldsOf(1'798'761'599 * SECOND), Fields(2026, 12, 31, 23, 59, 59));
    EXPECT_EQ(fieldsOf(FIRST_NOT_REPRESENTED - 1), Fields(3001, 1, 1, 7, 59, 59)) << "the last one";
}

TEST(TimeTest, LaterTime_failsAndLeavesTheLockFree)
{
    for (const std::uint64_t value : {FIRST_NOT_REPRESENTED, std::numeric_limits<std::uint64_t>::max()}) {
        EXPECT_EQ(support::unnumberedAssertionOf([&] { fieldsOf(value); }), "Utils/Time:#: ptm != NULL");
    }
    std::thread([] { EXPECT_EQ(fieldsOf(0), Fields(1970, 1, 1, 0, 0, 0)); }).join();
}

TEST(TimeTest, Period_isDaysHoursMinutesSeconds)
{
    const auto partsOf = [](std::uint64_t value) { return all(Time::period(value).decomposePeriod()); };
    EXPECT_EQ(partsOf(999'999), Period(0, 0, 0, 0));
    EXPECT_EQ(partsOf(90'061 * SECOND), Period(1, 1, 1, 1));
    EXPECT_EQ(partsOf(86'399 * SECOND), Period(0, 23, 59, 59));
    EXPECT_EQ(partsOf(SECOND * 86'400 * 100'000'000), Period(100'000'000, 0, 0, 0));
    EXPECT_EQ(partsOf(std::numeric_limits<std::uint64_t>::max()), Period(213'503'982, 8, 1, 49));
}

TEST(TimeTest, Decompose_ofAPeriod_hasNoYearAndMonth)
{
    EXPECT_EQ(all(Time::period(90'061 * SECOND).decompose()), Fields(0, 0, 1, 1, 1, 1));
    EXPECT_EQ(all(Time::timestamp(90'061 * SECOND).decompose()), Fields(1970, 1, 2, 1, 1, 1));
}

TEST(TimeTest, PeriodAsTimestamp_andBack_areRefused)
{
    EXPECT_EQ(support::unnumberedAssertionOf([] { Time::period(0).decomposeTimestamp(); }),
              "Utils/Time:#: this->isTimestamp");
    EXPECT_EQ(support::unnumberedAssertionOf([] { Time::timestamp(0).decomposePeriod(); }),
              "Utils/Time:#: this->isPeriod()");
}

TEST(TimeTest, Time_isATimestampOrAPeriod)
{
    EXPECT_EQ(Time::period(1), Time::period(1));
    EXPECT_NE(Time::period(1), Time::period(2));
    EXPECT_NE(Time::period(1), Time::timestamp(1));
    EXPECT_TRUE(Time::period(1).isPeriod());
    EXPECT_FALSE(Time::period(1).isTimestamp);
    EXPECT_FALSE(Time::timestamp(1).isPeriod());
    EXPECT_TRUE(Time::timestamp(1).isTimestamp);
    EXPECT_TRUE(Time().isPeriod());
    EXPECT_EQ(Time().value, 0U);
}

TEST(TimeTest, Timestamp_locksWhileItIsBrokenDown)
{
    const std::uint32_t balance = support::locksTaken() - support::locksReleased();
    EXPECT_EQ(support::locksTakenBy([] { Time::timestamp(0).decomposeTimestamp(); }), 1U);
    EXPECT_EQ(support::locksTakenBy([] { Time::timestamp(0).decompose(); }), 1U);
    EXPECT_EQ(support::locksTakenBy([] { Time::period(0).decompose(); }), 0U);
    EXPECT_EQ(support::locksTakenBy([] { support::thrownBy([] { Time::period(0).decomposeTimestamp(); }); }), 0U);
    EXPECT_EQ(support::locksTaken() - support::locksReleased(), balance);
}

}  // namespace
