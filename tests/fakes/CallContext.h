#pragma once

#include "fakes/FakeUnknown.h"

namespace support {

// The token that a thread gets while it acts for its client.
enum class ClientToken
{
    none,
    anonymous,
    identification,
    impersonation,
    delegation
};

// While it lives, the calling thread serves a call whose client allows the given level: CoImpersonateClient gives the
// thread such a token, made from the process's own, and CoRevertToSelf takes it away. Records
// "call.ImpersonateClient()" and "call.RevertToSelf()". Construct and destroy it on that thread; throws
// std::runtime_error when COM refuses.
class CallContext final : public FakeUnknown<IServerSecurity>
{
public:
    explicit CallContext(CallLog& calls, ClientToken token = ClientToken::impersonation);
    ~CallContext();

    // A failure here is what ImpersonateClient answers, without a token.
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

// True while the calling thread has a token of its own.
bool threadHasToken();

}  // namespace support
