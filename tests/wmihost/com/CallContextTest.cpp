#include "wmihost/com/CallContext.h"

#include <gtest/gtest.h>

#include <thread>

namespace wmihost {
namespace {

// The level of this thread's token, or the error of OpenThreadToken.
struct ThreadToken
{
    DWORD error = 0;
    SECURITY_IMPERSONATION_LEVEL level = SecurityAnonymous;
};

ThreadToken threadToken()
{
    ThreadToken result;
    HANDLE token = nullptr;
    if (OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token) == 0) {
        result.error = GetLastError();
        return result;
    }
    DWORD size = 0;
    EXPECT_NE(GetTokenInformation(token, TokenImpersonationLevel, &result.level, sizeof(result.level), &size), 0);
    CloseHandle(token);
    return result;
}

class CallContextTest : public testing::Test
{
protected:
    const ComApartment apartment;
};

TEST_F(CallContextTest, Impersonation_setsATokenOfTheLevel)
{
    struct Row
    {
        const char* name;
        Impersonation level;
        ThreadToken expected;
    };
    for (const Row& row : {Row{"none", Impersonation::NONE, {ERROR_NO_TOKEN}},
                           Row{"anonymous", Impersonation::ANONYMOUS, {ERROR_CANT_OPEN_ANONYMOUS}},
                           Row{"identify", Impersonation::IDENTIFY, {0, SecurityIdentification}},
                           Row{"impersonate", Impersonation::IMPERSONATE, {0, SecurityImpersonation}},
                           Row{"delegate", Impersonation::DELEGATE, {0, SecurityDelegation}}})
    {
        SCOPED_TRACE(row.name);
        const CallScope scope(row.level);
        ASSERT_EQ(CoImpersonateClient(), S_OK);
        EXPECT_EQ(threadToken().error, row.expected.error);
        EXPECT_EQ(threadToken().level, row.expected.level);
        EXPECT_EQ(CoRevertToSelf(), S_OK);
        EXPECT_EQ(threadToken().error, static_cast<DWORD>(ERROR_NO_TOKEN));
    }
}

TEST_F(CallContextTest, ScopesEnd_removesTheToken)
{
    {
        const CallScope scope(Impersonation::IMPERSONATE);
        ASSERT_EQ(CoImpersonateClient(), S_OK);
    }
    EXPECT_EQ(threadToken().error, static_cast<DWORD>(ERROR_NO_TOKEN));
    EXPECT_EQ(CoImpersonateClient(), RPC_E_CALL_COMPLETE);
}

TEST_F(CallContextTest, InnerScope_restoresTheOuterOne)
{
    const CallScope outer(Impersonation::IDENTIFY);
    {
        const CallScope inner(Impersonation::IMPERSONATE);
    }
    ASSERT_EQ(CoImpersonateClient(), S_OK);
    EXPECT_EQ(threadToken().level, SecurityIdentification);
    CoRevertToSelf();
}

TEST_F(CallContextTest, Scope_belongsToItsThread)
{
    const CallScope scope(Impersonation::IMPERSONATE);
    HRESULT elsewhere = S_OK;
    std::jthread([&elsewhere] {
        const ComApartment own;
        elsewhere = CoImpersonateClient();
    }).join();
    EXPECT_EQ(elsewhere, RPC_E_CALL_COMPLETE);
}

TEST_F(CallContextTest, Context_knowsWhetherItImpersonates)
{
    const auto context = ComPtr<IServerSecurity>::adopt(new CallContext(Impersonation::IMPERSONATE));
    EXPECT_FALSE(context->IsImpersonating());
    EXPECT_EQ(context->ImpersonateClient(), S_OK);
    EXPECT_TRUE(context->IsImpersonating());
    EXPECT_EQ(context->RevertToSelf(), S_OK);
    EXPECT_FALSE(context->IsImpersonating());
    EXPECT_EQ(context->QueryBlanket(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), E_NOTIMPL);
}

}  // namespace
}  // namespace wmihost
