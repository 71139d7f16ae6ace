#include "bench/provider/Requests.h"

#include <stdexcept>
#include <string>

#include "core/CimPropertyTypes.h"

namespace bench {

namespace {

// From here to the end of the scope, a request impersonates its client.
class FloorImpersonation
{
public:
    explicit FloorImpersonation(const KernelCalls& kernel)
    {
        CoImpersonateClient();
        kernel.askToken();
    }
    FloorImpersonation(const FloorImpersonation&) = delete;
    FloorImpersonation& operator=(const FloorImpersonation&) = delete;
    ~FloorImpersonation() { CoRevertToSelf(); }
};

// The locks that the containers' contracts require besides the steps of an iteration: each operation of a map or list
// holds the container's lock, and so does its destructor.
constexpr std::size_t LIST_WALK_AND_END = 2;
constexpr std::size_t MAP_SET = 1;
constexpr std::size_t MAP_CONTAINS = 1;
constexpr std::size_t MAP_END = 1;
// The search in the name index, the insertion into it, and the append to the list.
constexpr std::size_t PROPERTY_LIST_ADD = 3;
// The index and the list.
constexpr std::size_t PROPERTY_LIST_END = 2;
constexpr std::size_t PROPERTY_LIST_MUTEXES = 2;

}  // namespace

PropertyBlocks::~PropertyBlocks()
{
    for (std::size_t i = 0; i < m_count; ++i) {
        ::operator delete(m_blocks[i]);
    }
}

void PropertyBlocks::add()
{
    m_blocks[m_count++] = ::operator new(sizeof(core::CimPropertyString));
}

utils::ComReference<IWbemServices> createProvider(const support::ProviderModule& module, IWbemServices& nameSpace)
{
    utils::ComReference<IWbemServices> provider;
    *provider.out() = module.createProvider();
    utils::ComReference<IWbemProviderInit> init;
    if (FAILED(provider->QueryInterface(IID_IWbemProviderInit, reinterpret_cast<void**>(init.out())))) {
        throw std::runtime_error("the provider cannot be initialised");
    }
    // Answers 0 in every case. A provider without its namespace would fail each request, and the tables check them.
    init->Initialize(nullptr, 0, nullptr, nullptr, &nameSpace, nullptr, nullptr);
    return provider;
}

Client::Client(const support::ProviderModule& module, Broker& broker)
    : m_broker(broker),
      m_pool(broker.size()),
      m_provider(createProvider(module, m_namespace)),
      m_parsedPath("Zerix_BenchPort.DeviceID=\"adapter\"")
{
    *m_className.out() = SysAllocString(WIDE_CLASS_NAME);
    *m_path.out() = SysAllocString(PATH);
    *m_method.out() = SysAllocString(METHOD);
    for (std::size_t i = 0; i < PROPERTY_COUNT; ++i) {
        *m_values[i].address() = valueOf(PROPERTIES[i].type);
        *m_emptyValues[i].address() = emptyValueOf(PROPERTIES[i].type);
    }
    ClassObject* const changed = m_pool.take();
    changed->fill();
    m_changed = changed;
    ClassObject* const inputs = m_pool.take();
    inputs->fill();
    inputs->setKeyed(false);
    m_inputs = inputs;
    m_objects.reserve(broker.size());
}

void Client::check(const char* name, const Sink::Told& expected)
{
    const Sink::Told told = m_sink.take();
    if (!(told == expected)) {
        throw std::runtime_error(std::string(name) + " delivered " + std::to_string(told.objects) + " objects with " +
                                 std::to_string(told.values) + " values and ended well " +
                                 std::to_string(told.successes) + " times");
    }
}

void Client::enumerate()
{
    m_provider->CreateInstanceEnumAsync(m_className.get(), 0, &m_context, &m_sink);
}

void Client::get()
{
    m_provider->GetObjectAsync(m_path.get(), 0, &m_context, &m_sink);
}

void Client::put()
{
    m_provider->PutInstanceAsync(m_changed, WBEM_FLAG_UPDATE_ONLY, &m_context, &m_sink);
}

void Client::method()
{
    m_provider->ExecMethodAsync(m_path.get(), m_method.get(), 0, &m_context, m_inputs, &m_sink);
}

utils::ComReference<IWbemClassObject> Client::spawn()
{
    utils::ComReference<IWbemClassObject> definition;
    m_services->GetObject(m_className.get(), 0, &m_context, definition.out(), nullptr);
    utils::ComReference<IWbemClassObject> object;
    definition->SpawnInstance(0, object.out());
    return object;
}

utils::ComReference<IWbemClassObject> Client::spawnOutput()
{
    utils::ComReference<IWbemClassObject> definition;
    m_services->GetObject(m_className.get(), 0, &m_context, definition.out(), nullptr);
    utils::ComReference<IWbemClassObject> signature;
    definition->GetMethod(METHOD, 0, nullptr, signature.out());
    utils::ComReference<IWbemClassObject> object;
    signature->SpawnInstance(0, object.out());
    return object;
}

// A step of an iteration holds the list's lock; so does the step that finds the end.
void Client::fillInstance(const KernelCalls& kernel, IWbemClassObject* object)
{
    for (std::size_t i = 0; i < PROPERTY_COUNT; ++i) {
        kernel.lockPairs(1);
        putReady(object, i, m_values[i]);
    }
    kernel.lockPairs(1);
}

void Client::putReady(IWbemClassObject* object, std::size_t property, utils::ScopedVariant& value) const
{
    if (!m_allowed || value.get().vt != VT_BSTR) {
        object->Put(PROPERTIES[property].wideName, 0, value.address(), 0);
        return;
    }
    utils::ScopedVariant made;
    made.address()->bstrVal = SysAllocStringLen(value.get().bstrVal, SysStringLen(value.get().bstrVal));
    made.address()->vt = VT_BSTR;
    object->Put(PROPERTIES[property].wideName, 0, made.address(), 0);
}

// The first properties are keys, which are not passed to the broker.
void Client::walk(IWbemClassObject* object, std::size_t keys, PropertyBlocks& blocks) const
{
    object->BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY);
    for (std::size_t i = 0;; ++i) {
        utils::ScopedBstr name;
        utils::ScopedVariant value;
        CIMTYPE type = 0;
        long flavor = 0;
        if (object->Next(0, name.out(), value.address(), &type, &flavor) != WBEM_S_NO_ERROR) {
            break;
        }
        if (m_allowed && i >= keys) {
            blocks.add();
        }
    }
    object->EndEnumeration();
}

void Client::walkNames(IWbemClassObject* object, long flags)
{
    object->BeginEnumeration(flags);
    for (;;) {
        utils::ScopedBstr name;
        if (object->Next(0, name.out(), nullptr, nullptr, nullptr) != WBEM_S_NO_ERROR) {
            break;
        }
    }
    object->EndEnumeration();
}

void Client::enumerateFloor(const KernelCalls& kernel)
{
    const FloorImpersonation impersonation(kernel);
    {
        const utils::SafeList<core::CimInstance*> instances = m_broker.getInstances(CLASS_NAME);
        kernel.lockPairs(LIST_WALK_AND_END);
        for (std::size_t i = 0; i < m_broker.size(); ++i) {
            kernel.lockPairs(1);
            m_objects.push_back(spawn().detach());
            fillInstance(kernel, m_objects.back());
        }
        kernel.lockPairs(1);
    }
    for (IWbemClassObject*& object : m_objects) {
        m_answers->Indicate(1, &object);
        object->Release();
        m_answers->SetStatus(WBEM_STATUS_PROGRESS, 0, nullptr, nullptr);
    }
    m_objects.clear();
    m_answers->SetStatus(WBEM_STATUS_COMPLETE, WBEM_S_NO_ERROR, nullptr, nullptr);
}

void Client::getFloor(const KernelCalls& kernel)
{
    const FloorImpersonation impersonation(kernel);
    {
        const utils::ComReference<IWbemClassObject> object = spawn();
        fillInstance(kernel, object.get());
        IWbemClassObject* indicated = object.get();
        m_answers->Indicate(1, &indicated);
    }
    m_answers->SetStatus(WBEM_STATUS_COMPLETE, WBEM_S_NO_ERROR, nullptr, nullptr);
}

void Client::putFloor(const KernelCalls& kernel)
{
    // Every property except the key.
    constexpr std::size_t EXTRACTED = PROPERTY_COUNT - 1;
    const FloorImpersonation impersonation(kernel);
    {
        utils::ScopedVariant path;
        m_changed->Get(L"__PATH", 0, path.address(), nullptr, nullptr);
    }
    kernel.mutexes(PROPERTY_LIST_MUTEXES + 1);
    walkNames(m_changed, WBEM_FLAG_KEYS_ONLY);
    PropertyBlocks properties;
    walk(m_changed, 1, properties);
    kernel.lockPairs(MAP_SET + PROPERTY_COUNT * MAP_CONTAINS + MAP_END + EXTRACTED * PROPERTY_LIST_ADD +
                     PROPERTY_LIST_END);
    m_broker.modifyInstance(m_parsedPath, m_properties);
    m_answers->SetStatus(WBEM_STATUS_COMPLETE, WBEM_S_NO_ERROR, nullptr, nullptr);
}

void Client::methodFloor(const KernelCalls& kernel)
{
    const FloorImpersonation impersonation(kernel);
    kernel.mutexes(2 * PROPERTY_LIST_MUTEXES + 1);
    walkNames(m_inputs, WBEM_FLAG_KEYS_ONLY);
    PropertyBlocks inputs;
    walk(m_inputs, 0, inputs);
    kernel.lockPairs(PROPERTY_COUNT * (MAP_CONTAINS + PROPERTY_LIST_ADD) + MAP_END);
    PropertyBlocks outputs;
    walk(spawnOutput().get(), 0, outputs);
    kernel.lockPairs(PROPERTY_COUNT * PROPERTY_LIST_ADD);
    core::CimInstance* job = nullptr;
    m_broker.invokeMethod(m_parsedPath, m_methodName, m_properties, m_results, job);
    {
        const utils::ComReference<IWbemClassObject> output = spawnOutput();
        for (std::size_t i = 0; i < PROPERTY_COUNT; ++i) {
            kernel.lockPairs(1);
            putReady(output.get(), i, m_emptyValues[i]);
        }
        kernel.lockPairs(1);
        IWbemClassObject* indicated = output.get();
        m_answers->Indicate(1, &indicated);
    }
    kernel.lockPairs(2 * PROPERTY_LIST_END);
    m_answers->SetStatus(WBEM_STATUS_COMPLETE, WBEM_S_NO_ERROR, nullptr, nullptr);
}

void requireSameAnswers(const RequestKind& kind, Client& client, const KernelCalls& kernel)
{
    (client.*kind.request)();
    const Sink::Told told = client.take();
    (client.*kind.floor)(kernel);
    client.check(kind.name, told);
}

}  // namespace bench
