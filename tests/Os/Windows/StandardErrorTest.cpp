#include <gtest/gtest.h>

#include "Utils/LogSinks.h"

namespace {

TEST(StandardErrorTest, Line_isItsOwnFormat)
{
    testing::internal::CaptureStderr();
    utils::writeStandardError("100%% sure\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "100% sure\n");
}

}  // namespace
