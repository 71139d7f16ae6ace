#pragma once

#include <cstddef>
#include <thread>

#include "Os/Windows/ComScope.h"
#include "bench/provider/Requests.h"
#include "bench/provider/WmiObjects.h"
#include "support/MadeUpAdapters.h"
#include "support/PrivateRegistry.h"

// The shipped classes from the shipped broker, over as many adapters as a benchmark wants. The fake WMI accepts
// everything and does nothing, so that only the product's work is counted.
namespace bench {

// Serves as any class and as any instance. Accepts every value and counts the values.
class AnyObject final : public Unowned<IWbemClassObject, CountedObject>
{
public:
    std::size_t valueCount() const noexcept override { return m_values; }

    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type) override;
    HRESULT STDMETHODCALLTYPE SpawnInstance(LONG flags, IWbemClassObject** instance) override;
    HRESULT STDMETHODCALLTYPE Get(LPCWSTR, LONG, VARIANT*, CIMTYPE*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Next(LONG, BSTR*, VARIANT*, CIMTYPE*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndEnumeration() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMethod(LPCWSTR, LONG, IWbemClassObject**, IWbemClassObject**) override
    {
        return E_NOTIMPL;
    }

private:
    std::size_t m_values = 0;
};

// A client of the shipped provider and broker. Its requests may come from any thread that serves a call (CallContext),
// one at a time.
class PortClient
{
public:
    explicit PortClient(const support::ProviderModule& module);

    // Enumerates all ports. Throws std::runtime_error if a port is missing, is unexpected, or has no values.
    void enumerate();

    // Enumerates the ports on a new thread, which calls `count` with the request.
    template <class Count>
    void enumerateOnNewThread(const Count& count)
    {
        std::thread([&] {
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            {
                const CallContext context;
                count([this] { enumerate(); });
            }
            CoUninitialize();
        }).join();
    }

    // Enumerates another class, so that the broker deletes the port instances that it keeps.
    void forget();

    support::MadeUpAdapters& adapters() noexcept { return m_adapters; }

    static HMODULE broker();

private:
    void request(BSTR className);

    // An empty registry that other programs do not share.
    support::PrivateRegistry m_registry;
    support::MadeUpAdapters m_adapters{broker()};
    AnyObject m_object;
    Namespace m_namespace{m_object};
    Sink m_sink;
    support::CallLog m_calls;
    support::FakeContext m_context{m_calls};
    utils::ScopedBstr m_ports;
    utils::ScopedBstr m_identities;
    utils::ComReference<IWbemServices> m_provider;
};

}  // namespace bench
