#include "adapters/wmi/Impersonator.h"

#include "Utils/Log.h"
#include "adapters/wmi/Status.h"

namespace {

constexpr const char* FILE_NAME = "WmiAdapter";

// The level of the calling thread's token in the numbering of RPC_C_IMP_LEVEL_*. A thread without a token is the
// process itself, and trusted; a token that cannot be read is anonymous.
DWORD impersonationLevel() noexcept
{
    HANDLE token = nullptr;
    if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token)) {
        const DWORD error = GetLastError();
        return error == ERROR_NO_IMPERSONATION_TOKEN || error == ERROR_NO_TOKEN ? RPC_C_IMP_LEVEL_DELEGATE
                                                                                : RPC_C_IMP_LEVEL_ANONYMOUS;
    }
    // A number, not the platform's enumeration: a later platform may answer a level that this one does not list.
    DWORD level = SecurityAnonymous;
    DWORD size = 0;
    const BOOL known = GetTokenInformation(token, TokenImpersonationLevel, &level, sizeof(level), &size);
    CloseHandle(token);
    if (!known) {
        return RPC_C_IMP_LEVEL_ANONYMOUS;
    }
    switch (level) {
        case SecurityIdentification:
            return RPC_C_IMP_LEVEL_IDENTIFY;
        case SecurityImpersonation:
            return RPC_C_IMP_LEVEL_IMPERSONATE;
        case SecurityDelegation:
            return RPC_C_IMP_LEVEL_DELEGATE;
        default:
            return RPC_C_IMP_LEVEL_ANONYMOUS;
    }
}

void report(IWbemObjectSink* sink, HRESULT status)
{
    if (sink != nullptr) {
        sink->SetStatus(WBEM_STATUS_COMPLETE, status, nullptr, nullptr);
    }
}

}  // namespace

// Delegates, so that the destructor runs when the sink throws.
Impersonator::Impersonator(IWbemObjectSink* sink) : Impersonator()
{
    static constexpr utils::LogSite here{FILE_NAME, "Impersonator::Impersonator"};
    here.debug("Impersonating");
    const HRESULT hr = CoImpersonateClient();
    if (FAILED(hr)) {
        here.error("CoImpersonateClient err: #%d", hr);
        report(sink, hr);
        return;
    }
    const DWORD level = impersonationLevel();
    if (level < RPC_C_IMP_LEVEL_IMPERSONATE) {
        here.error("Access denied, %d", level);
        report(sink, wa::hresult(WBEM_E_ACCESS_DENIED));
        return;
    }
    m_succeeded = true;
    here.debug("Impersonate success");
}

Impersonator::~Impersonator()
{
    static constexpr utils::LogSite here{FILE_NAME, "Impersonator::~Impersonator"};
    here.debug("Revert to self");
    CoRevertToSelf();
}
