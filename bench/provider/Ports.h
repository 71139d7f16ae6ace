#pragma once

#include <cstddef>
#include <thread>

#include "Os/Windows/ComScope.h"
#include "adapters/wmi/RefusingServices.h"
#include "bench/provider/Requests.h"
#include "bench/provider/WmiObjects.h"
#include "fakes/RefusingObjects.h"
#include "support/MadeUpAdapters.h"
#include "support/PrivateRegistry.h"

// The classes that are shipped, from the broker that is shipped, over as many adapters as a benchmark wants. WMI's side
// takes everything and does nothing, so that what is counted is the product's.
namespace bench {

// Any class and any instance of it: takes every value, and counts them.
class AnyObject final : public support::RefusingClassObject
{
public:
    std::size_t valuesPut() const noexcept { return m_values; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
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

// Has every class.
class AnyNamespace final : public wa::RefusingServices
{
public:
    explicit AnyNamespace(AnyObject& object) : m_object(object) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetObject(BSTR path, LONG flags, IWbemContext* context, IWbemClassObject** object,
                                        IWbemCallResult** result) override;

private:
    AnyObject& m_object;
};

// Counts the objects that it is given.
class CountingSink final : public IWbemObjectSink
{
public:
    std::size_t objects() const noexcept { return m_objects; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE Indicate(LONG count, IWbemClassObject** objects) override;
    HRESULT STDMETHODCALLTYPE SetStatus(LONG, HRESULT, BSTR, IWbemClassObject*) override { return WBEM_S_NO_ERROR; }

private:
    std::size_t m_objects = 0;
};

// A client of the provider and the broker as they are shipped. Its requests may come from any thread, one at a time,
// which serves a call (CallContext).
class PortClient
{
public:
    explicit PortClient(const ProviderModule& module);

    // Asks for all ports. Throws std::runtime_error where other than the adapters came, or no value of one.
    void enumerate();

    // The same on a thread that has not asked before; `count` is called there with the request.
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

    // Asks for another class, so that the broker deletes what it keeps of the ports.
    void forget();

    support::MadeUpAdapters& adapters() noexcept { return m_adapters; }

    static HMODULE broker();

private:
    void request(BSTR className);

    // Empty, and not shared with other programs.
    support::PrivateRegistry m_registry;
    support::MadeUpAdapters m_adapters{broker()};
    AnyObject m_object;
    AnyNamespace m_namespace{m_object};
    CountingSink m_sink;
    Context m_context;
    utils::ScopedBstr m_ports;
    utils::ScopedBstr m_identities;
    utils::ComReference<IWbemServices> m_provider;
};

}  // namespace bench
