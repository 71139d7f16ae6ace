#pragma once

#include <memory>
#include <string>

#include "Os/Windows/Platform.h"
#include "support/ImportHook.h"

namespace support {

// The built provider, loaded from the folder of the program as COM loads it. Unloaded with the object.
class ProviderModule
{
public:
    // Throws std::runtime_error when the DLL cannot be loaded.
    ProviderModule();
    ~ProviderModule();
    ProviderModule(const ProviderModule&) = delete;
    ProviderModule& operator=(const ProviderModule&) = delete;

    HMODULE handle() const noexcept { return m_module; }

    // The exports; throw std::runtime_error where one is missing.
    HRESULT classObject(REFCLSID clsid, REFIID riid, void** object) const;
    HRESULT canUnloadNow() const;
    HRESULT registerServer() const;
    HRESULT unregisterServer() const;

    // From here on the provider asks the test's broker instead of the broker.
    void useTheTestsBroker();

    // From here on a LogCapture that lives collects the provider's lines too.
    void captureLog();

    // A provider object with one reference, which the caller owns.
    IWbemServices* createProvider() const;

private:
    FARPROC find(const char* name) const;

    HMODULE m_module;
    std::unique_ptr<ImportHook> m_brokerHook;
    std::unique_ptr<ImportHook> m_findHook;
    bool m_captured = false;
};

}  // namespace support
