#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "Os/Windows/ComScope.h"
#include "bench/provider/Broker.h"
#include "bench/provider/KernelCalls.h"
#include "bench/provider/WmiObjects.h"
#include "fakes/FakeContext.h"
#include "fakes/ProviderModule.h"

namespace bench {

// While it lives, the provider calls Broker instead of the real broker.
class BenchmarksBroker : support::ReplacedBroker
{
public:
    explicit BenchmarksBroker(const support::ProviderModule& module)
        : ReplacedBroker(module.handle(), &Broker::inUse, &Broker::find)
    {
    }
};

// A provider of the module that is initialised for the namespace. Throws std::runtime_error.
utils::ComReference<IWbemServices> createProvider(const support::ProviderModule& module, IWbemServices& nameSpace);

// A list of properties for the broker. Each property is one heap block; the list frees them.
class PropertyBlocks
{
public:
    PropertyBlocks() = default;
    PropertyBlocks(const PropertyBlocks&) = delete;
    PropertyBlocks& operator=(const PropertyBlocks&) = delete;
    ~PropertyBlocks();

    void add();

private:
    std::size_t m_count = 0;
    std::array<void*, PROPERTY_COUNT> m_blocks;
};

// The client of one thread: a provider and everything that its requests need, prepared beforehand.
class Client
{
public:
    Client(const support::ProviderModule& module, Broker& broker);

    // The results of the requests since the last call.
    Sink::Told take() noexcept { return m_sink.take(); }

    // The same. Throws std::runtime_error with the request's name if the results are not as expected.
    void check(const char* name, const Sink::Told& expected);

    // The four requests. Each exists as a client makes it through the provider, and as a floor: the calls that any
    // answer needs, with every value ready, and the lock pairs that the lists' contracts require.
    // With setAllowed a floor also makes and frees what a provider cannot prepare: the BSTR of each text that it puts,
    // and one heap block for each property that it passes to the broker.
    void setAllowed(bool allowed) noexcept { m_allowed = allowed; }
    void enumerate();
    void enumerateFloor(const KernelCalls& kernel);
    void get();
    void getFloor(const KernelCalls& kernel);
    void put();
    void putFloor(const KernelCalls& kernel);
    void method();
    void methodFloor(const KernelCalls& kernel);

private:
    utils::ComReference<IWbemClassObject> spawn();
    utils::ComReference<IWbemClassObject> spawnOutput();
    void fillInstance(const KernelCalls& kernel, IWbemClassObject* object);
    void putReady(IWbemClassObject* object, std::size_t property, utils::ScopedVariant& value) const;
    void walk(IWbemClassObject* object, std::size_t keys, PropertyBlocks& blocks) const;
    static void walkNames(IWbemClassObject* object, long flags);

    Broker& m_broker;
    bool m_allowed = false;
    ObjectPool m_pool;
    Namespace m_namespace{m_pool.definition()};
    Sink m_sink;
    support::CallLog m_calls;
    support::FakeContext m_context{m_calls};
    utils::ComReference<IWbemServices> m_provider;

    // The floors call through the interfaces because the provider must do so too.
    IWbemServices* m_services = &m_namespace;
    IWbemObjectSink* m_answers = &m_sink;

    utils::ScopedBstr m_className;
    utils::ScopedBstr m_path;
    utils::ScopedBstr m_method;
    std::array<utils::ScopedVariant, PROPERTY_COUNT> m_values;
    std::array<utils::ScopedVariant, PROPERTY_COUNT> m_emptyValues;
    IWbemClassObject* m_changed = nullptr;
    IWbemClassObject* m_inputs = nullptr;
    std::string m_methodName = "ApplySettings";
    core::CimPath m_parsedPath;
    core::CimPropertyList m_properties;
    core::CimPropertyList m_results;
    std::vector<IWbemClassObject*> m_objects;
};

// A client's request and its floor.
struct RequestKind
{
    const char* name;
    void (Client::*request)();
    void (Client::*floor)(const KernelCalls&);
};

inline constexpr RequestKind ENUMERATE{"enumerate", &Client::enumerate, &Client::enumerateFloor};
// The requests that concern one instance, however many instances exist.
inline constexpr std::array<RequestKind, 3> SINGLE_REQUESTS{{{"get", &Client::get, &Client::getFloor},
                                                             {"put", &Client::put, &Client::putFloor},
                                                             {"method", &Client::method, &Client::methodFloor}}};

// Throws std::runtime_error if a request and its floor deliver different results.
void requireSameAnswers(const RequestKind& kind, Client& client, const KernelCalls& kernel);

}  // namespace bench
