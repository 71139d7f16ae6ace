#include "Os/Windows/ComputerName.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/ImportHook.h"

namespace {

TEST(ComputerNameTest, Name_isTheEnvironments)
{
    _putenv_s("COMPUTERNAME", "SERVER-7");
    EXPECT_EQ(utils::computerName(), "SERVER-7");
}

char emptyName[] = "";

char* emptyVariable(const char* /*name*/)
{
    return emptyName;
}

TEST(ComputerNameTest, Name_empty_isLocalhost)
{
    // The run time cannot set an empty variable, but a host's environment may contain one.
    const support::ImportHook hook("getenv", &emptyVariable);
    EXPECT_EQ(utils::computerName(), "localhost");
}

TEST(ComputerNameTest, Name_missing_isLocalhost)
{
    _putenv_s("COMPUTERNAME", "");
    ASSERT_EQ(std::getenv("COMPUTERNAME"), nullptr);
    EXPECT_EQ(utils::computerName(), "localhost");
}

}  // namespace
