#include "fakes/CallContext.h"

#include <stdexcept>

namespace support {

namespace {

struct ScopedToken
{
    ScopedToken() = default;
    ScopedToken(const ScopedToken&) = delete;
    ScopedToken& operator=(const ScopedToken&) = delete;
    ~ScopedToken()
    {
        if (handle != nullptr) {
            CloseHandle(handle);
        }
    }

    HANDLE handle = nullptr;
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
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_DUPLICATE | TOKEN_QUERY, &process.handle) ||
        !DuplicateTokenEx(process.handle, TOKEN_QUERY | TOKEN_IMPERSONATE, nullptr,
                          static_cast<SECURITY_IMPERSONATION_LEVEL>(m_token), TokenImpersonation, &client.handle) ||
        !SetThreadToken(nullptr, client.handle))
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
    return OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token.handle) || GetLastError() != ERROR_NO_TOKEN;
}

}  // namespace support
