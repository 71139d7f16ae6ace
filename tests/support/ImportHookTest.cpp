#include "support/ImportHook.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/RunTimeName.h"
#include "support/Thrown.h"

namespace {

DWORD WINAPI seven()
{
    return 7;
}
DWORD WINAPI eight()
{
    return 8;
}

// Within one function the compiler may keep the address that it has read from the import table.
[[gnu::noinline]] DWORD processId()
{
    return GetCurrentProcessId();
}

TEST(ImportHookTest, Calls_goToTheReplacementWhileTheHookLives)
{
    const DWORD real = processId();
    ASSERT_NE(real, 7U);
    {
        const support::ImportHook hook("GetCurrentProcessId", &seven);
        EXPECT_EQ(processId(), 7U);
        EXPECT_EQ(hook.original<decltype(&seven)>()(), real);
    }
    EXPECT_EQ(processId(), real);
}

TEST(ImportHookTest, Hooks_nest)
{
    const support::ImportHook outer("GetCurrentProcessId", &seven);
    {
        const support::ImportHook inner("GetCurrentProcessId", &eight);
        EXPECT_EQ(processId(), 8U);
        EXPECT_EQ(inner.original<decltype(&seven)>()(), 7U);
    }
    EXPECT_EQ(processId(), 7U);
}

TEST(ImportHookTest, OtherModules_areNotChanged)
{
    HMODULE library = GetModuleHandleA(support::RUN_TIME);
    ASSERT_NE(library, nullptr);
    const DWORD real = processId();
    const support::ImportHook hook("GetLastError", &seven, library);
    EXPECT_EQ(processId(), real);
    SetLastError(3);
    EXPECT_EQ(GetLastError(), 3U);
}

TEST(ImportHookTest, MissingImport_isRefused)
{
    EXPECT_EQ(support::thrownBy<std::runtime_error>([] { const support::ImportHook hook("NoSuchFunction", &seven); }),
              "the module does not import NoSuchFunction");
}

}  // namespace
