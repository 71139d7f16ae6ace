#include <gtest/gtest.h>

#include "Utils/LogSinks.h"

namespace {

TEST(StandardErrorTest, theLineIsItsOwnFormat)
{
    testing::internal::CaptureStderr();
    utils::writeStandardError("100%% sure\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "100% sure\n");
}

}  // namespace
