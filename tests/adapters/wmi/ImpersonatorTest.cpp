#include "adapters/wmi/Impersonator.h"

#include <functional>
#include <optional>

#include "fakes/CallContext.h"
#include "tests/adapters/wmi/WmiTest.h"

namespace {

using support::CallContext;
using support::ClientToken;
using support::ImportHook;
using support::Lines;

std::string begun(const char* level, const std::string& message)
{
    return std::string(level) + "|WmiAdapter|Impersonator::Impersonator|" + message;
}

const std::string IMPERSONATING = begun("debug", "Impersonating");
const std::string SUCCESS = begun("debug", "Impersonate success");
const std::string REVERT = "debug|WmiAdapter|Impersonator::~Impersonator|Revert to self";

struct Outcome
{
    bool succeeded;
    Lines messages;
    Lines calls;
};

bool operator==(const Outcome& left, const Outcome& right)
{
    return left.succeeded == right.succeeded && left.messages == right.messages && left.calls == right.calls;
}

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome)
{
    return stream << outcome.succeeded << testing::PrintToString(outcome.messages)
                  << testing::PrintToString(outcome.calls);
}

const Outcome GRANTED{true, {IMPERSONATING, SUCCESS, REVERT}, {"call.ImpersonateClient()", "call.RevertToSelf()"}};

Outcome denied(int level)
{
    return {false,
            {IMPERSONATING, begun("error", "Access denied, " + std::to_string(level)), REVERT},
            {"call.ImpersonateClient()", "sink.SetStatus(0, 0x80041003, null, null)", "call.RevertToSelf()"}};
}

class ImpersonatorTest : public testing::Test
{
protected:
    // One request, with and without a sink.
    Outcome impersonate(ClientToken token, IWbemObjectSink* reportTo, HRESULT impersonateStatus = S_OK)
    {
        CallContext call(calls, token);
        call.impersonateStatus = impersonateStatus;
        bool succeeded = false;
        {
            const Impersonator impersonator(reportTo);
            succeeded = impersonator.succeeded();
        }
        EXPECT_FALSE(support::threadHasToken());
        return {succeeded, support::takeMessages(log), calls.take()};
    }

    support::LogCapture log{2};
    support::CallLog calls;
    support::FakeSink sink{calls};
};

TEST_F(ImpersonatorTest, AClientThatAllowsImpersonationOrMoreIsActedFor)
{
    EXPECT_EQ(impersonate(ClientToken::impersonation, &sink), GRANTED);
    EXPECT_EQ(impersonate(ClientToken::delegation, &sink), GRANTED);
}

TEST_F(ImpersonatorTest, TheThreadCarriesTheTokenUntilTheEnd)
{
    const CallContext call(calls, ClientToken::impersonation);
    {
        const Impersonator impersonator(&sink);
        EXPECT_TRUE(support::threadHasToken());
    }
    EXPECT_FALSE(support::threadHasToken());
}

TEST_F(ImpersonatorTest, AThreadWithoutATokenIsTheProcessItselfAndTrusted)
{
    EXPECT_EQ(impersonate(ClientToken::none, &sink), GRANTED);
}

TEST_F(ImpersonatorTest, AClientThatAllowsOnlyIdentificationIsDenied)
{
    EXPECT_EQ(impersonate(ClientToken::identification, &sink), denied(2));
}

TEST_F(ImpersonatorTest, AnAnonymousClientIsDenied)
{
    EXPECT_EQ(impersonate(ClientToken::anonymous, &sink), denied(1));
}

TEST_F(ImpersonatorTest, AFailureToImpersonateIsReportedWithItsOwnCode)
{
    const Outcome failed{
        false,
        {IMPERSONATING, begun("error", "CoImpersonateClient err: #-2147024891"), REVERT},
        {"call.ImpersonateClient()", "sink.SetStatus(0, 0x80070005, null, null)", "call.RevertToSelf()"}};
    EXPECT_EQ(impersonate(ClientToken::impersonation, &sink, E_ACCESSDENIED), failed);
}

TEST_F(ImpersonatorTest, WithoutASinkTheReportIsSkipped)
{
    Outcome expected = denied(2);
    expected.calls = {"call.ImpersonateClient()", "call.RevertToSelf()"};
    EXPECT_EQ(impersonate(ClientToken::identification, nullptr), expected);
    expected.messages = {IMPERSONATING, begun("error", "CoImpersonateClient err: #-2147024891"), REVERT};
    EXPECT_EQ(impersonate(ClientToken::impersonation, nullptr, E_ACCESSDENIED), expected);
}

TEST_F(ImpersonatorTest, SinkThatThrows_passes_andTheIdentityIsGivenBack)
{
    const CallContext call(calls, ClientToken::identification);
    sink.onStatus = [] { throw 7; };
    EXPECT_THROW(const Impersonator impersonator(&sink), int);
    EXPECT_FALSE(support::threadHasToken());
    EXPECT_EQ(support::takeMessages(log), denied(2).messages);
    EXPECT_EQ(calls.take(), denied(2).calls);
}

TEST_F(ImpersonatorTest, OutsideACallThereIsNoClientToActFor)
{
    {
        const Impersonator impersonator(&sink);
        EXPECT_FALSE(impersonator.succeeded());
    }
    EXPECT_EQ(support::takeMessages(log),
              (Lines{IMPERSONATING, begun("error", "CoImpersonateClient err: #-2147417833"), REVERT}));
    EXPECT_EQ(calls.take(), Lines{"sink.SetStatus(0, 0x80010117, null, null)"});
}

DWORD openError = 0;
std::vector<std::pair<DWORD, BOOL>> opened;

BOOL WINAPI openFails(HANDLE, DWORD access, BOOL openAsSelf, PHANDLE)
{
    opened.emplace_back(access, openAsSelf);
    SetLastError(openError);
    return FALSE;
}

TEST_F(ImpersonatorTest, OnlyAMissingTokenIsTrustedEveryOtherFailureToOpenItIsAnonymous)
{
    CallContext call(calls, ClientToken::none);
    const ImportHook hook("OpenThreadToken", &openFails);
    for (const auto& [error, succeeds] :
         std::vector<std::pair<DWORD, bool>>{{1008, true}, {1309, true}, {5, false}, {1347, false}, {6, false}})
    {
        openError = error;
        {
            const Impersonator impersonator(&sink);
            EXPECT_EQ(impersonator.succeeded(), succeeds) << error;
        }
        EXPECT_EQ(support::takeMessages(log), succeeds ? GRANTED.messages : denied(1).messages) << error;
    }
}

TEST_F(ImpersonatorTest, TheTokenIsOpenedForQueriesAndByTheProcessItself)
{
    CallContext call(calls, ClientToken::none);
    const ImportHook hook("OpenThreadToken", &openFails);
    openError = 1008;
    opened.clear();
    const Impersonator impersonator(&sink);
    EXPECT_EQ(opened, (std::vector<std::pair<DWORD, BOOL>>{{TOKEN_QUERY, TRUE}}));
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

TEST_F(ImpersonatorTest, EachTokenLevelHasItsNumberAndAnUnknownOneIsAnonymous)
{
    CallContext call(calls, ClientToken::impersonation);
    const ImportHook hook("GetTokenInformation", &giveLevel);
    levelIsKnown = true;
    for (const auto& [level, number] :
         std::vector<std::pair<DWORD, int>>{{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 1}, {4294967295U, 1}})
    {
        tokenLevel = level;
        {
            const Impersonator impersonator(&sink);
            EXPECT_EQ(impersonator.succeeded(), number >= 3) << level;
        }
        EXPECT_EQ(support::takeMessages(log), number >= 3 ? GRANTED.messages : denied(number).messages) << level;
    }
}

TEST_F(ImpersonatorTest, ATokenThatCannotBeReadIsAnonymousAndIsClosed)
{
    CallContext call(calls, ClientToken::impersonation);
    const ImportHook hook("GetTokenInformation", &giveLevel);
    levelIsKnown = false;
    std::optional<Impersonator> impersonator;
    {
        // Opened once by the fake that stands in for the call, which closes both of its handles itself.
        const ImportHook close("CloseHandle", &countClose);
        closeHandle = close.original<decltype(&CloseHandle)>();
        closed = 0;
        impersonator.emplace(&sink);
        EXPECT_EQ(closed, 3);
    }
    EXPECT_FALSE(impersonator->succeeded());
    impersonator.reset();
    EXPECT_EQ(support::takeMessages(log), denied(1).messages);
}

}  // namespace
