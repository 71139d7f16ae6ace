#include "Utils/ProcessEnd.h"

#include <gtest/gtest.h>

namespace {

TEST(ProcessEndTest, isFalseWhileTheProcessRuns)
{
    EXPECT_FALSE(utils::processIsEnding());
}

}  // namespace
