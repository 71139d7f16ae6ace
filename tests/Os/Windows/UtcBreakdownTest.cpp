#include "Utils/UtcBreakdown.h"

#include <gtest/gtest.h>

namespace {

TEST(UtcBreakdownTest, breaksDownInUtc)
{
    const std::tm* const fields = utils::utcBreakdown(951'782'400);
    ASSERT_NE(fields, nullptr);
    EXPECT_EQ(fields->tm_year, 100);
    EXPECT_EQ(fields->tm_mon, 1);
    EXPECT_EQ(fields->tm_mday, 29);
    EXPECT_EQ(fields->tm_hour, 0);
}

TEST(UtcBreakdownTest, isNullFromEightHoursIntoTheYear3001On)
{
    EXPECT_NE(utils::utcBreakdown(32'535'244'799), nullptr);
    EXPECT_EQ(utils::utcBreakdown(32'535'244'800), nullptr);
}

TEST(UtcBreakdownTest, isNullBeforeThePlatformsFirstTime)
{
    EXPECT_EQ(utils::utcBreakdown(-86'400'000), nullptr);
}

}  // namespace
