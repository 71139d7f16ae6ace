#include "bench/provider/Broker.h"

#include "bench/provider/Counters.h"
#include "bench/provider/KernelCalls.h"
#include "bench/provider/Shape.h"
#include "core/CimPropertyTypes.h"

namespace bench {

namespace {

Broker* latest = nullptr;

// The instance owns the properties that are made here.
template <class Property, class Value>
core::CimProperty& addProperty(const char* name, core::CimInstance& owner, Value value)
{
    auto property = std::make_unique<Property>(name, &owner);
    property->setValue(value);
    return *property.release();
}

core::CimProperty& addProperty(const PropertyShape& shape, core::CimInstance& owner)
{
    switch (shape.type) {
        case CIM_STRING:
            return addProperty<core::CimPropertyString>(shape.name, owner, TEXT_VALUE);
        case CIM_UINT64:
            return addProperty<core::CimPropertyUint64>(shape.name, owner, LARGE_VALUE);
        case CIM_UINT8:
            return addProperty<core::CimPropertyUint8>(shape.name, owner, static_cast<std::uint8_t>(NUMBER_VALUE));
        case CIM_UINT16:
            return addProperty<core::CimPropertyUint16>(shape.name, owner, static_cast<std::uint16_t>(NUMBER_VALUE));
        default:
            return addProperty<core::CimPropertyUint32>(shape.name, owner, NUMBER_VALUE);
    }
}

std::unique_ptr<core::CimInstance> makeInstance()
{
    auto instance = std::make_unique<core::CimInstance>(CLASS_NAME);
    for (const PropertyShape& shape : PROPERTIES) {
        addProperty(shape, *instance).setKey(&shape == &PROPERTIES.front());
    }
    return instance;
}

}  // namespace

Broker::Broker(std::size_t instances)
{
    m_instances.reserve(instances);
    for (std::size_t i = 0; i < instances; ++i) {
        m_instances.push_back(makeInstance());
    }
    use();
}

void Broker::use() noexcept
{
    latest = this;
}

utils::SafeList<core::CimInstance*> Broker::getInstances(const std::string& /*className*/)
{
    const Uncounted pause;
    const FreeLocks free;
    utils::SafeList<core::CimInstance*> result;
    for (const auto& instance : m_instances) {
        result.append(instance.get());
    }
    return result;
}

void Broker::modifyInstance(core::CimPath& /*path*/, core::CimPropertyList& /*properties*/) {}

std::uint32_t Broker::invokeMethod(core::CimPath& /*path*/, std::string /*methodName*/,
                                   core::CimPropertyList& /*inArguments*/, core::CimPropertyList& /*outArguments*/,
                                   core::CimInstance*& /*job*/)
{
    return 0;
}

core::CimBroker* Broker::inUse()
{
    return latest;
}

core::CimInstance* Broker::find(core::CimBroker* broker, core::CimPath& /*path*/)
{
    return static_cast<Broker*>(broker)->m_instances.front().get();
}

}  // namespace bench
