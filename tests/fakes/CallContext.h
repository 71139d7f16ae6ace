#pragma once

#include "fakes/FakeUnknown.h"

namespace support {

// The token that a thread receives while it impersonates its client.
enum class ClientToken
{
    NONE = -1,
    ANONYMOUS = SecurityAnonymous,
    IDENTIFICATION = SecurityIdentification,
    IMPERSONATION = SecurityImpersonation,
    DELEGATION = SecurityDelegation
};

// While it lives, the calling thread serves a call whose client allows the given level. CoImpersonateClient gives the
// thread such a token, a copy of the process's token, and CoRevertToSelf removes it. Records
// "call.ImpersonateClient()" and "call.RevertToSelf()". Construct and destroy the object on that thread. Throws
// std::runtime_error when COM refuses.
class CallContext final : public FakeUnknown<IServerSecurity>
{
public:
    explicit CallContext(CallLog& calls, ClientToken token = ClientToken::IMPERSONATION);
    ~CallContext();

    // If this is a failure, ImpersonateClient returns it and sets no token.
    HRESULT impersonateStatus = S_OK;

    HRESULT STDMETHODCALLTYPE ImpersonateClient() override;
    HRESULT STDMETHODCALLTYPE RevertToSelf() override;
    BOOL STDMETHODCALLTYPE IsImpersonating() override;
    HRESULT STDMETHODCALLTYPE QueryBlanket(DWORD*, DWORD*, OLECHAR**, DWORD*, DWORD*, void**, DWORD*) override
    {
        return E_NOTIMPL;
    }

private:
    ClientToken m_token;
    IUnknown* m_before = nullptr;
};

// Returns whether the calling thread has a token.
bool threadHasToken();

}  // namespace support
