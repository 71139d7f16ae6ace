#pragma once

#include <optional>
#include <string>

#include "Os/Windows/Platform.h"
#include "core/CimBroker.h"
#include "support/ImportHook.h"

namespace support {

// While it lives, the provider calls another broker than the real one. The two functions take the place of those that
// the real broker exports by name; the second has the calling convention of a member function.
class ReplacedBroker
{
public:
    ReplacedBroker(HMODULE provider, core::CimBroker* (*inUse)(),
                   core::CimInstance* (*find)(core::CimBroker*, core::CimPath&))
        : m_inUse("_ZN4core12GetCimBrokerEv", inUse, provider),
          m_find("_ZN4core9CimBroker17getInstanceByPathERNS_7CimPathE", find, provider)
    {
    }

private:
    ImportHook m_inUse;
    ImportHook m_find;
};

// The built provider, loaded from the program's folder as COM loads it. The destructor unloads it.
class ProviderModule
{
public:
    // Throws std::runtime_error when the DLL cannot be loaded.
    ProviderModule();
    ~ProviderModule();
    ProviderModule(const ProviderModule&) = delete;
    ProviderModule& operator=(const ProviderModule&) = delete;

    HMODULE handle() const noexcept { return m_module; }

    // The exported functions. They throw std::runtime_error when the export is missing.
    HRESULT classObject(REFCLSID clsid, REFIID riid, void** object) const;
    HRESULT canUnloadNow() const;
    HRESULT registerServer() const;
    HRESULT unregisterServer() const;

    // From this call on, the provider uses the test's broker instead of the real one.
    void useTheTestsBroker();

    // From this call on, a living LogCapture collects the provider's lines too.
    void captureLog();

    // Returns a provider object with one reference, which the caller owns.
    IWbemServices* createProvider() const;

private:
    FARPROC find(const char* name) const;

    HMODULE m_module;
    std::optional<ReplacedBroker> m_broker;
    bool m_captured = false;
};

}  // namespace support
