#include "adapters/wmi/Impersonator.h"

#include "fakes/CallContext.h"
#include "tests/adapters/wmi/WmiTest.h"

// Which clients are acted for, and what the others get, is tested through the built DLL, in tests/requests.
namespace {

using support::CallContext;
using support::ClientToken;
using support::ImportHook;

class ImpersonatorTest : public testing::Test
{
protected:
    support::LogCapture log{2};
    support::CallLog calls;
    support::FakeSink sink{calls};
};

TEST_F(ImpersonatorTest, SinkThatThrows_givesTheIdentityBack)
{
    const CallContext call(calls, ClientToken::IDENTIFICATION);
    sink.onStatus = [] { throw 7; };
    EXPECT_THROW(const Impersonator impersonator(&sink), int);
    EXPECT_FALSE(support::threadHasToken());
    EXPECT_EQ(calls.take().back(), "call.RevertToSelf()");
}

DWORD openError = 0;
std::vector<std::pair<DWORD, BOOL>> opened;

BOOL WINAPI openFails(HANDLE, DWORD access, BOOL openAsSelf, PHANDLE)
{
    opened.emplace_back(access, openAsSelf);
    SetLastError(openError);
    return FALSE;
}

TEST_F(ImpersonatorTest, UnopenableToken_isTrustedOnlyWhenMissing)
{
    const CallContext call(calls, ClientToken::NONE);
    const ImportHook hook("OpenThreadToken", &openFails);
    for (const auto& [error, succeeds] :
         std::vector<std::pair<DWORD, bool>>{{1008, true}, {1309, true}, {5, false}, {1347, false}, {6, false}})
    {
        openError = error;
        opened.clear();
        const Impersonator impersonator(&sink);
        EXPECT_EQ(impersonator.succeeded(), succeeds) << error;
        EXPECT_EQ(opened, (std::vector<std::pair<DWORD, BOOL>>{{TOKEN_QUERY, TRUE}}));
    }
}

DWORD tokenLevel = 0;

BOOL WINAPI giveLevel(HANDLE, TOKEN_INFORMATION_CLASS kind, LPVOID value, DWORD size, PDWORD written)
{
    EXPECT_EQ(kind, TokenImpersonationLevel);
    EXPECT_EQ(size, sizeof tokenLevel);
    *static_cast<DWORD*>(value) = tokenLevel;
    *written = sizeof tokenLevel;
    return TRUE;
}

TEST_F(ImpersonatorTest, UnknownTokenLevel_isAnonymous)
{
    const ImportHook hook("GetTokenInformation", &giveLevel);
    const CallContext call(calls, ClientToken::IMPERSONATION);
    // The platform's level, and its number in the log: from 3 on the client is acted for.
    for (const auto& [level, number] :
         std::vector<std::pair<DWORD, int>>{{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 1}, {4294967295U, 1}})
    {
        tokenLevel = level;
        log.clear();
        const Impersonator impersonator(&sink);
        EXPECT_EQ(impersonator.succeeded(), number >= 3) << level;
        if (number < 3) {
            ASSERT_FALSE(log.messages().empty()) << level;
            EXPECT_TRUE(log.messages().back().ends_with(", " + std::to_string(number))) << level;
        }
    }
}

int closed = 0;
decltype(&CloseHandle) closeHandle = nullptr;

BOOL WINAPI countClose(HANDLE handle)
{
    ++closed;
    return closeHandle(handle);
}

TEST_F(ImpersonatorTest, UnreadableToken_isAnonymousAndClosed)
{
    const CallContext call(calls, ClientToken::IMPERSONATION);
    const ImportHook hook("GetTokenInformation", support::returning<FALSE, ERROR_ACCESS_DENIED>(&GetTokenInformation));
    const ImportHook close("CloseHandle", &countClose);
    closeHandle = close.original<decltype(&CloseHandle)>();
    closed = 0;
    const Impersonator impersonator(&sink);
    // The fake call opens this handle once and closes both of its handles itself.
    EXPECT_EQ(closed, 3);
    EXPECT_FALSE(impersonator.succeeded());
}

}  // namespace
