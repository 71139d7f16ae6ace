#include "wmihost/com/CallContext.h"

#include <memory>
#include <stdexcept>

namespace wmihost {
namespace {

struct CloseHandleDeleter
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, CloseHandleDeleter>;

HRESULT lastError()
{
    return HRESULT_FROM_WIN32(GetLastError());
}

SECURITY_IMPERSONATION_LEVEL tokenLevel(Impersonation level)
{
    switch (level) {
        case Impersonation::ANONYMOUS:
            return SecurityAnonymous;
        case Impersonation::IDENTIFY:
            return SecurityIdentification;
        case Impersonation::DELEGATE:
            return SecurityDelegation;
        default:
            return SecurityImpersonation;
    }
}

}  // namespace

HRESULT CallContext::QueryBlanket(DWORD*, DWORD*, OLECHAR**, DWORD*, DWORD*, void**, DWORD*)
{
    // A call inside one process is not authenticated, so no answer would be true.
    return E_NOTIMPL;
}

HRESULT CallContext::ImpersonateClient()
{
    if (m_level == Impersonation::NONE) {
        m_impersonating = SetThreadToken(nullptr, nullptr) != 0;
        return m_impersonating ? S_OK : lastError();
    }
    HANDLE handle = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_DUPLICATE | TOKEN_QUERY, &handle) == 0) {
        return lastError();
    }
    const Handle own(handle);
    if (DuplicateTokenEx(own.get(), TOKEN_QUERY | TOKEN_IMPERSONATE, nullptr, tokenLevel(m_level), TokenImpersonation,
                         &handle) == 0)
    {
        return lastError();
    }
    const Handle client(handle);
    m_impersonating = SetThreadToken(nullptr, client.get()) != 0;
    return m_impersonating ? S_OK : lastError();
}

HRESULT CallContext::RevertToSelf()
{
    m_impersonating = false;
    return SetThreadToken(nullptr, nullptr) != 0 ? S_OK : lastError();
}

BOOL CallContext::IsImpersonating()
{
    return m_impersonating ? TRUE : FALSE;
}

CallScope::CallScope(Impersonation level) : m_context(ComPtr<CallContext>::adopt(new CallContext(level)))
{
    if (FAILED(CoSwitchCallContext(m_context.get(), &m_before))) {
        throw std::runtime_error("COM does not accept the security of the call");
    }
}

CallScope::~CallScope()
{
    IUnknown* own = nullptr;
    CoSwitchCallContext(m_before, &own);
    SetThreadToken(nullptr, nullptr);
}

}  // namespace wmihost
