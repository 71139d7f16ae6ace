#include "broker/windows/WindowsMachine.h"

#include <gtest/gtest.h>
#include <lmcons.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cwchar>

#include "Os/Windows/Platform.h"
#include "support/ImportHook.h"

namespace {

TEST(WindowsMachine, ComputerName_isTheEnvironments)
{
    _putenv("COMPUTERNAME=ALPHA");
    EXPECT_EQ(broker::WindowsMachine().computerName(), "ALPHA");
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
        const support::ImportHook refused("LookupAccountSidW", support::returning<FALSE>(&LookupAccountSidW));
        EXPECT_EQ(machine.userName(), "");
    }
    const support::ImportHook refused("OpenProcessToken", support::returning<FALSE>(&OpenProcessToken));
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

TEST(WindowsMachine, Now_isThePlatformsTime)
{
    using namespace std::chrono;
    broker::WindowsMachine machine;
    const auto clock = [] { return floor<microseconds>(system_clock::now()); };
    const auto before = clock();
    const auto now = machine.now();
    EXPECT_TRUE(before <= now && now <= clock());
    const auto steadyClock = [] { return floor<microseconds>(steady_clock::now()); };
    const auto steadyBefore = steadyClock();
    const auto steadyNow = machine.steadyNow();
    EXPECT_TRUE(steadyBefore <= steadyNow && steadyNow <= steadyClock());
}

}  // namespace
