#pragma once

#include <memory>

#include "support/CallLog.h"
#include "support/ImportHook.h"

namespace reliability {

// Who answers the provider: the broker of the test (support::FakeBroker) or the built broker.
enum class Broker
{
    standIn,
    built
};

// The built provider, loaded anew and unloaded again, with a registry for its own entries that only records what it is
// asked. Throws std::runtime_error when it does not load. One at a time.
class ProviderModule
{
public:
    explicit ProviderModule(support::CallLog& registryCalls, Broker broker = Broker::standIn);
    ~ProviderModule();
    ProviderModule(const ProviderModule&) = delete;
    ProviderModule& operator=(const ProviderModule&) = delete;

    HMODULE handle() const noexcept { return m_module; }

    // Null as the class factory where that cannot be made; the status says why. The caller owns the reference.
    HRESULT classFactory(IClassFactory** factory) const;
    HRESULT registerServer() const { return call("DllRegisterServer"); }
    HRESULT unregisterServer() const { return call("DllUnregisterServer"); }
    bool canUnload() const { return call("DllCanUnloadNow") == S_OK; }

    // Registry keys that are open now.
    int openKeys() const noexcept;

private:
    struct Redirections;

    HRESULT call(const char* entry) const;

    HMODULE m_module;
    std::unique_ptr<Redirections> m_redirections;
};

}  // namespace reliability
