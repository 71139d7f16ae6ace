#include "broker/windows/WindowsMachine.h"

#include <gtest/gtest.h>
#include <lmcons.h>

#include <array>
#include <cstdlib>
#include <cwchar>

#include "Os/Windows/Platform.h"
#include "support/Refusal.h"

namespace {

TEST(WindowsMachine, ComputerName_isTheEnvironments)
{
    broker::WindowsMachine machine;
    _putenv("COMPUTERNAME=ALPHA");
    EXPECT_EQ(machine.computerName(), "ALPHA");
    _putenv("COMPUTERNAME=");
    EXPECT_EQ(machine.computerName(), "localhost");
}

TEST(WindowsMachine, UserName_isThatOfTheThreadWithItsDomain)
{
    std::array<char, UNLEN + 1> expected{};
    DWORD size = static_cast<DWORD>(expected.size());
    ASSERT_TRUE(GetUserNameA(expected.data(), &size));
    broker::WindowsMachine machine;
    const std::string name = machine.userName();
    ASSERT_NE(name.find('\\'), std::string::npos) << name;
    EXPECT_GT(name.find('\\'), 0U);
    EXPECT_EQ(name.substr(name.find('\\') + 1), expected.data());
    ASSERT_TRUE(ImpersonateSelf(SecurityImpersonation));
    EXPECT_EQ(machine.userName(), name);
    RevertToSelf();
}

TEST(WindowsMachine, UserName_thatThePlatformDoesNotTell_isEmpty)
{
    broker::WindowsMachine machine;
    {
        const support::Refusal<decltype(&LookupAccountSidW), FALSE> refused("LookupAccountSidW");
        EXPECT_EQ(machine.userName(), "");
    }
    const support::Refusal<decltype(&OpenProcessToken), FALSE> refused("OpenProcessToken");
    EXPECT_EQ(machine.userName(), "");
}

BOOL WINAPI lookalikeAccount(LPCWSTR /*system*/, PSID /*sid*/, LPWSTR name, LPDWORD nameSize, LPWSTR domain,
                             LPDWORD domainSize, PSID_NAME_USE /*use*/)
{
    *nameSize = static_cast<DWORD>(std::wcslen(std::wcscpy(name, L"\u0134oe")));
    *domainSize = static_cast<DWORD>(std::wcslen(std::wcscpy(domain, L"HOST")));
    return TRUE;
}

TEST(WindowsMachine, UserName_outsideTheCodePage_hasQuestionMarks)
{
    const support::ImportHook hook("LookupAccountSidW", &lookalikeAccount);
    broker::WindowsMachine machine;
    EXPECT_EQ(machine.userName(), "HOST\\?oe");
}

TEST(WindowsMachine, SteadyNow_neverGoesBack)
{
    broker::WindowsMachine machine;
    const broker::SteadyTime before = machine.steadyNow();
    EXPECT_GE(machine.steadyNow(), before);
}

TEST(WindowsMachine, Now_isThePlatformsTime)
{
    const auto platformNow = [] {
        // Units of 100 ns since 1601, read without the C++ library.
        constexpr std::uint64_t UNIX_EPOCH = 116'444'736'000'000'000ULL;
        FILETIME time;
        GetSystemTimeAsFileTime(&time);
        return ((std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime) - UNIX_EPOCH) / 10;
    };
    broker::WindowsMachine machine;
    const std::uint64_t before = platformNow();
    const auto now = static_cast<std::uint64_t>(machine.now().time_since_epoch().count());
    const std::uint64_t after = platformNow();
    constexpr std::uint64_t TICK = 20'000;
    EXPECT_GE(now + TICK, before);
    EXPECT_LE(now, after + TICK);
}

}  // namespace
