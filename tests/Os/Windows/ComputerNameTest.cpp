#include "Os/Windows/ComputerName.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

TEST(ComputerNameTest, isTheEnvironmentsName)
{
    _putenv_s("COMPUTERNAME", "SERVER-7");
    EXPECT_EQ(utils::computerName(), "SERVER-7");
}

TEST(ComputerNameTest, isLocalhostWithoutOne)
{
    _putenv_s("COMPUTERNAME", "");
    ASSERT_EQ(std::getenv("COMPUTERNAME"), nullptr);
    EXPECT_EQ(utils::computerName(), "localhost");
}

}  // namespace
