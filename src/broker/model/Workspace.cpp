#include "broker/model/Workspace.h"

#include <algorithm>
#include <array>

#include "Utils/Exception.h"
#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Names.h"

namespace broker {

namespace {

#define BROKER_CLASS_ADDRESS(name) &(name),
constexpr std::array servedClasses{BROKER_SERVED_CLASSES(BROKER_CLASS_ADDRESS)};
#undef BROKER_CLASS_ADDRESS

}  // namespace

Workspace::Workspace(const Sources& sources) : m_sources(sources)
{
    m_classes.reserve(servedClasses.size());
    for (const ServedClass* served : servedClasses) {
        m_classes.push_back({served->name, {served->makeStore(Shape::WHOLE)}, {served->makeStore(Shape::KEYS)}});
    }
}

void Workspace::begin(const std::string& className) noexcept
{
    ++m_request;
    m_systemName.reset();
    m_hiddenAdapters.reset();
    m_adapters.reset();
    m_addresses.reset();

    std::size_t count = 0;
    for (const Class& held : m_classes) {
        count += held.instances.store->records().size() + held.references.store->records().size();
    }
    if (count <= KEPT_INSTANCES) {
        return;
    }
    const Class* const asked = classOf(className);
    for (Class& held : m_classes) {
        if (&held != asked) {
            held.instances.store->clear();
        }
        // The targets of the class's references have been brought up to date in the same request.
        if (asked == nullptr || held.references.request != asked->instances.request) {
            held.references.store->clear();
        }
    }
}

const InstanceStore* Workspace::instances(const std::string& className)
{
    Class* const served = classOf(className);
    return served == nullptr ? nullptr : &current(served->instances);
}

const InstanceStore& Workspace::references(const char* className)
{
    return current(classOf(className)->references);
}

const InstanceStore::Record* Workspace::find(const core::CimPath& path)
{
    Class* const served = classOf(path.getClassName());
    if (served == nullptr) {
        return nullptr;
    }
    Slot& slot = served->instances;
    if (slot.request == m_request && slot.isWhole) {
        return slot.store->find(path, *this);
    }
    const InstanceStore::Record* const found = slot.store->updateOne(*this, path, *this);
    slot.request = m_request;
    slot.isWhole = false;
    return found;
}

core::CimInstance* Workspace::resolve(const std::string& text)
{
    try {
        const core::CimPath path(text);
        Class* const served = classOf(path.getClassName());
        const InstanceStore::Record* record =
            served == nullptr ? nullptr : current(served->references).find(path, *this);
        return record == nullptr ? nullptr : record->instance.get();
    } catch (const utils::ESyntaxError&) {
        return nullptr;
    }
}

const std::string& Workspace::systemName()
{
    if (!m_systemName) {
        m_systemName = m_sources.machine.computerName();
    }
    return *m_systemName;
}

const std::vector<Adapter>& Workspace::adapters()
{
    if (!m_adapters) {
        m_adapters = shown(m_sources.adapters.readAdapters(), &Adapter::guid);
    }
    return *m_adapters;
}

const std::vector<Address>& Workspace::addresses()
{
    if (!m_addresses) {
        m_addresses = shown(m_sources.adapters.readAddresses(), &Address::adapterGuid);
    }
    return *m_addresses;
}

std::vector<IpConfiguration> Workspace::ipConfigurations()
{
    return shown(m_sources.adapters.readIpConfigurations(), &IpConfiguration::adapterGuid);
}

const Adapter& Workspace::adapterOf(const InstanceStore::Record& port)
{
    const std::vector<Adapter>& read = adapters();
    // The port was made from one of these adapters.
    return *std::find_if(read.begin(), read.end(), [&port](const Adapter& adapter) { return adapter.guid == port.id; });
}

core::CimInstance* Workspace::job(const std::string& id)
{
    const InstanceStore::Record* record = instances(CONCRETE_JOB)->withId(id);
    return record == nullptr ? nullptr : record->instance.get();
}

Workspace::Class* Workspace::classOf(std::string_view name) noexcept
{
    const auto found = std::find_if(m_classes.begin(), m_classes.end(),
                                    [name](const Class& candidate) { return sameName(candidate.name, name); });
    return found == m_classes.end() ? nullptr : &*found;
}

template <class Row>
std::vector<Row> Workspace::shown(std::vector<Row> rows, std::string Row::*adapterGuid)
{
    if (!m_hiddenAdapters) {
        m_hiddenAdapters = m_sources.adapters.readHiddenAdapters();
    }
    std::erase_if(rows, [this, adapterGuid](const Row& row) {
        return std::find(m_hiddenAdapters->begin(), m_hiddenAdapters->end(), row.*adapterGuid) !=
               m_hiddenAdapters->end();
    });
    return rows;
}

const InstanceStore& Workspace::current(Slot& slot)
{
    if (slot.request != m_request || !slot.isWhole) {
        slot.store->update(*this);
        slot.request = m_request;
        slot.isWhole = true;
    }
    return *slot.store;
}

}  // namespace broker
