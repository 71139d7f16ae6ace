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

TEST(ComputerNameTest, Name_missingOrEmpty_isLocalhost)
{
    _putenv_s("COMPUTERNAME", "");
    ASSERT_EQ(std::getenv("COMPUTERNAME"), nullptr);
    EXPECT_EQ(utils::computerName(), "localhost");
    // The run time cannot set an empty variable, but a host's environment may contain one.
    static char emptyName[] = "";
    const support::ImportHook hook(
        "getenv", +[](const char* /*name*/) -> char* { return emptyName; });
    EXPECT_EQ(utils::computerName(), "localhost");
}

}  // namespace
