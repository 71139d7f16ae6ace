#include "broker/windows/WindowsMachine.h"

#include <gtest/gtest.h>
#include <lmcons.h>

#include <array>
#include <cstdlib>
#include <cwchar>

#include "Os/Windows/Platform.h"
#include "support/ImportHook.h"

namespace {

BOOL WINAPI noUserName(LPWSTR /*name*/, LPDWORD /*size*/)
{
    return FALSE;
}

TEST(WindowsMachine, ComputerNameIsThatOfTheEnvironment)
{
    broker::WindowsMachine machine;
    _putenv("COMPUTERNAME=ALPHA");
    EXPECT_EQ(machine.computerName(), "ALPHA");
    _putenv("COMPUTERNAME=");
    EXPECT_EQ(machine.computerName(), "localhost");
}

TEST(WindowsMachine, UserNameIsThatOfTheThread)
{
    std::array<char, UNLEN + 1> expected{};
    DWORD size = static_cast<DWORD>(expected.size());
    ASSERT_TRUE(GetUserNameA(expected.data(), &size));
    broker::WindowsMachine machine;
    EXPECT_EQ(machine.userName(), expected.data());
}

TEST(WindowsMachine, UserNameThatThePlatformDoesNotTellIsEmpty)
{
    const support::ImportHook hook("GetUserNameW", &noUserName);
    broker::WindowsMachine machine;
    EXPECT_EQ(machine.userName(), "");
}

BOOL WINAPI lookalikeName(LPWSTR name, LPDWORD size)
{
    *size = static_cast<DWORD>(std::wcslen(std::wcscpy(name, L"\u0134oe")) + 1);
    return TRUE;
}

TEST(WindowsMachine, UserName_outsideTheCodePage_hasQuestionMarks)
{
    const support::ImportHook hook("GetUserNameW", &lookalikeName);
    broker::WindowsMachine machine;
    EXPECT_EQ(machine.userName(), "?oe");
}

TEST(WindowsMachine, NowIsThePlatformsTime)
{
    const auto platformNow = [] {
        // 100 ns since 1601, whatever the C++ library says.
        constexpr std::uint64_t UNIX_EPOCH = 116'444'736'000'000'000ULL;
        FILETIME time;
        GetSystemTimeAsFileTime(&time);
        return ((std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime) - UNIX_EPOCH) / 10;
    };
    broker::WindowsMachine machine;
    const std::uint64_t before = platformNow();
    const std::uint64_t now = machine.now();
    const std::uint64_t after = platformNow();
    constexpr std::uint64_t TICK = 20'000;
    EXPECT_GE(now + TICK, before);
    EXPECT_LE(now, after + TICK);
}

}  // namespace
