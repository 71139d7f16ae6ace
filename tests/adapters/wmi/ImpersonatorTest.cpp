#include "adapters/wmi/Impersonator.h"

#include <optional>

#include "fakes/CallContext.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::CallContext;
using support::ClientToken;
using support::ImportHook;
using support::Lines;

const std::string GRANTED = "granted";

// The report that the sink received, and the level in the error line about the denied access.
std::string denied(const std::string& level)
{
    return "denied, 0x80041003, " + level;
}

class ImpersonatorTest : public testing::Test
{
protected:
    // The outcome of one request with a client that has this token.
    std::string impersonate(ClientToken token)
    {
        const CallContext call(calls, token);
        log.clear();
        calls.take();
        std::string outcome;
        {
            const Impersonator impersonator(&sink);
            outcome = impersonator.succeeded() ? "granted" : "denied";
        }
        EXPECT_FALSE(support::threadHasToken());
        for (const std::string& recorded : calls.take()) {
            if (recorded.starts_with("sink.SetStatus(0, ")) {
                outcome += ", " + recorded.substr(18, 10);
            }
        }
        for (const std::string& event : log.events()) {
            const std::size_t level = event.find("Access denied, ");
            if (level != std::string::npos) {
                outcome += ", " + event.substr(level + 15, event.find('\n') - level - 15);
            }
        }
        return outcome;
    }

    support::LogCapture log{2};
    support::CallLog calls;
    support::FakeSink sink{calls};
};

TEST_F(ImpersonatorTest, Client_isActedForFromImpersonationOn)
{
    EXPECT_EQ(impersonate(ClientToken::IMPERSONATION), GRANTED);
    EXPECT_EQ(impersonate(ClientToken::DELEGATION), GRANTED);
    EXPECT_EQ(impersonate(ClientToken::IDENTIFICATION), denied("2"));
    EXPECT_EQ(impersonate(ClientToken::ANONYMOUS), denied("1"));
}

TEST_F(ImpersonatorTest, WithoutAToken_theProcessIsTrusted)
{
    EXPECT_EQ(impersonate(ClientToken::NONE), GRANTED);
}

TEST_F(ImpersonatorTest, Token_isCarriedUntilTheEnd)
{
    const CallContext call(calls, ClientToken::IMPERSONATION);
    {
        const Impersonator impersonator(&sink);
        EXPECT_TRUE(support::threadHasToken());
    }
    EXPECT_FALSE(support::threadHasToken());
}

TEST_F(ImpersonatorTest, Sink_isNeededForTheReportAlone)
{
    CallContext call(calls, ClientToken::IDENTIFICATION);
    EXPECT_FALSE(Impersonator(nullptr).succeeded());
    call.impersonateStatus = E_ACCESSDENIED;
    EXPECT_FALSE(Impersonator(nullptr).succeeded());
}

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

bool levelIsKnown = true;
DWORD tokenLevel = 0;

BOOL WINAPI giveLevel(HANDLE, TOKEN_INFORMATION_CLASS kind, LPVOID value, DWORD size, PDWORD written)
{
    if (!levelIsKnown || kind != TokenImpersonationLevel || size != sizeof tokenLevel) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    *static_cast<DWORD*>(value) = tokenLevel;
    *written = sizeof tokenLevel;
    return TRUE;
}

int closed = 0;
decltype(&CloseHandle) closeHandle = nullptr;

BOOL WINAPI countClose(HANDLE handle)
{
    ++closed;
    return closeHandle(handle);
}

TEST_F(ImpersonatorTest, UnknownTokenLevel_isAnonymous)
{
    const ImportHook hook("GetTokenInformation", &giveLevel);
    levelIsKnown = true;
    for (const auto& [level, number] :
         std::vector<std::pair<DWORD, int>>{{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 1}, {4294967295U, 1}})
    {
        tokenLevel = level;
        EXPECT_EQ(impersonate(ClientToken::IMPERSONATION), number >= 3 ? GRANTED : denied(std::to_string(number)))
            << level;
    }
}

TEST_F(ImpersonatorTest, UnreadableToken_isAnonymousAndClosed)
{
    const CallContext call(calls, ClientToken::IMPERSONATION);
    const ImportHook hook("GetTokenInformation", &giveLevel);
    levelIsKnown = false;
    std::optional<Impersonator> impersonator;
    {
        // The fake call opens this handle once and closes both of its handles itself.
        const ImportHook close("CloseHandle", &countClose);
        closeHandle = close.original<decltype(&CloseHandle)>();
        closed = 0;
        impersonator.emplace(&sink);
        EXPECT_EQ(closed, 3);
    }
    EXPECT_FALSE(impersonator->succeeded());
}

}  // namespace
