#include "Utils/ProcessEnd.h"

#include <gtest/gtest.h>

namespace {

TEST(ProcessEndTest, RunningProcess_isNotEnding)
{
    EXPECT_FALSE(utils::processIsEnding());
}

}  // namespace
