#include "Utils/UtcBreakdown.h"

#include <gtest/gtest.h>

#include "Os/Windows/Platform.h"
#include "Utils/Time.h"
#include "support/WrappedImport.h"

namespace {

TEST(UtcBreakdownTest, Breakdown_outsideThePlatformsRange_isNull)
{
    EXPECT_NE(utils::utcBreakdown(32'535'244'799), nullptr);
    EXPECT_EQ(utils::utcBreakdown(32'535'244'800), nullptr);
    EXPECT_EQ(utils::utcBreakdown(-86'400'000), nullptr);
}

// The storage that all breakdowns of the run time share. A thread without the lock may read another thread's result.
std::tm shared{};

std::tm* sharedBreakdown(const __time64_t* /*seconds*/)
{
    shared = {};
    shared.tm_year = 77;
    shared.tm_mday = 5;
    return &shared;
}

constexpr auto releaseAndOverwrite = [](auto original, HANDLE mutex) {
    shared.tm_year = 0;
    return original(mutex);
};

TEST(UtcBreakdownTest, Result_isCopiedBeforeTheLockIsGivenBack)
{
    const support::ImportHook breakdown("_gmtime64", &sharedBreakdown);
    const auto release =
        support::WrappedImport<decltype(ReleaseMutex), releaseAndOverwrite>::install("ReleaseMutex", nullptr);
    EXPECT_EQ(utils::Time::timestamp(0).decomposeTimestamp().year, 1977U);
    EXPECT_EQ(shared.tm_year, 0) << "the lock was given back";
}

}  // namespace
