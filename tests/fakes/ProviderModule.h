#pragma once

#include <memory>
#include <string>

#include "Os/Windows/Platform.h"
#include "support/ImportHook.h"

namespace support {

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
    std::unique_ptr<ImportHook> m_brokerHook;
    std::unique_ptr<ImportHook> m_findHook;
    bool m_captured = false;
};

}  // namespace support
