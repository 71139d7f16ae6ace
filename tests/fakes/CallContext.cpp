#include "fakes/CallContext.h"

#include <stdexcept>

namespace support {

namespace {

SECURITY_IMPERSONATION_LEVEL levelOf(ClientToken token)
{
    switch (token) {
        case ClientToken::ANONYMOUS:
            return SecurityAnonymous;
        case ClientToken::IDENTIFICATION:
            return SecurityIdentification;
        case ClientToken::DELEGATION:
            return SecurityDelegation;
        default:
            return SecurityImpersonation;
    }
}

class ScopedToken
{
public:
    ScopedToken() = default;
    ScopedToken(const ScopedToken&) = delete;
    ScopedToken& operator=(const ScopedToken&) = delete;
    ~ScopedToken()
    {
        if (m_token != nullptr) {
            CloseHandle(m_token);
        }
    }

    HANDLE get() const noexcept { return m_token; }
    HANDLE* out() noexcept { return &m_token; }

private:
    HANDLE m_token = nullptr;
};

}  // namespace

CallContext::CallContext(CallLog& calls, ClientToken token) : FakeUnknown(calls, "call", false), m_token(token)
{
    if (FAILED(CoSwitchCallContext(this, &m_before))) {
        throw std::runtime_error("cannot set the call context");
    }
}

CallContext::~CallContext()
{
    IUnknown* mine = nullptr;
    CoSwitchCallContext(m_before, &mine);
    SetThreadToken(nullptr, nullptr);
}

HRESULT CallContext::ImpersonateClient()
{
    record("ImpersonateClient()");
    if (FAILED(impersonateStatus) || m_token == ClientToken::NONE) {
        return impersonateStatus;
    }
    ScopedToken process;
    ScopedToken client;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_DUPLICATE | TOKEN_QUERY, process.out()) ||
        !DuplicateTokenEx(process.get(), TOKEN_QUERY | TOKEN_IMPERSONATE, nullptr, levelOf(m_token), TokenImpersonation,
                          client.out()) ||
        !SetThreadToken(nullptr, client.get()))
    {
        return HRESULT_FROM_WIN32(GetLastError());
    }
    return S_OK;
}

HRESULT CallContext::RevertToSelf()
{
    record("RevertToSelf()");
    return SetThreadToken(nullptr, nullptr) ? S_OK : HRESULT_FROM_WIN32(GetLastError());
}

BOOL CallContext::IsImpersonating()
{
    return threadHasToken() ? TRUE : FALSE;
}

bool threadHasToken()
{
    ScopedToken token;
    return OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, token.out()) || GetLastError() != ERROR_NO_TOKEN;
}

}  // namespace support
