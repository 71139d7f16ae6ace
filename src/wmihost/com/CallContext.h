#pragma once

#include "wmihost/com/Com.h"

namespace wmihost {

// How far a provider may act as the client of a request.
enum class Impersonation
{
    NONE,  // the thread gets no token at all
    ANONYMOUS,
    IDENTIFY,
    IMPERSONATE,
    DELEGATE
};

// The security of a call, as COM offers it to the object that serves the call. CoImpersonateClient then gives the
// thread a token of this process's user with the chosen level, and CoRevertToSelf removes it. Belongs to the thread on
// which it is installed.
class CallContext final : public ComObject<IServerSecurity>
{
public:
    explicit CallContext(Impersonation level) : m_level(level) {}

    HRESULT STDMETHODCALLTYPE QueryBlanket(DWORD* authenticationService, DWORD* authorizationService,
                                           OLECHAR** serverPrincipal, DWORD* authenticationLevel,
                                           DWORD* impersonationLevel, void** privileges, DWORD* capabilities) override;
    HRESULT STDMETHODCALLTYPE ImpersonateClient() override;
    HRESULT STDMETHODCALLTYPE RevertToSelf() override;
    BOOL STDMETHODCALLTYPE IsImpersonating() override;

private:
    const Impersonation m_level;
    bool m_impersonating = false;
};

// Installs a call context on this thread for as long as the scope lives. Its end restores the previous context and
// removes a token that the provider left on the thread. Throws std::runtime_error if COM refuses.
class CallScope
{
public:
    explicit CallScope(Impersonation level);
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;
    ~CallScope();

private:
    ComPtr<CallContext> m_context;
    IUnknown* m_before = nullptr;
};

}  // namespace wmihost
