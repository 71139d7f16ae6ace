#include "companion/Workspace.h"

#include <algorithm>
#include <unordered_map>

#include "Utils/Exception.h"
#include "companion/Names.h"

namespace companion {

const std::array<Workspace::ServedClass, 7> Workspace::servedClasses{{
    {ETHERNET_PORT, &Workspace::ports},
    {ETHERNET_PORT_STATISTICS, &Workspace::statistics},
    {IP_PROTOCOL_ENDPOINT, &Workspace::endpoints},
    {SOFTWARE_IDENTITY, &Workspace::software},
    {REGISTERED_PROFILE, &Workspace::profiles},
    {PORT_IMPLEMENTS_ENDPOINT, &Workspace::portImplementsEndpoint},
    {ELEMENT_CONFORMS_TO_PROFILE, &Workspace::elementConformsToProfile},
}};

void Workspace::begin() noexcept
{
    ++m_request;
    m_systemName.reset();
    m_adapters.reset();
    m_addresses.reset();
}

const InstanceStore* Workspace::instances(const std::string& className)
{
    const auto served = std::find_if(servedClasses.begin(), servedClasses.end(), [&className](const ServedClass& entry) {
        return sameName(entry.name, className);
    });
    return served == servedClasses.end() ? nullptr : &(this->*served->instances)();
}

const InstanceStore::Record* Workspace::find(const core::CimPath& path)
{
    const InstanceStore* store = instances(path.getClassName());
    return store == nullptr ? nullptr : store->find(path, *this);
}

core::CimInstance* Workspace::resolve(const std::string& path)
{
    try {
        const InstanceStore::Record* record = find(core::CimPath(path));
        return record == nullptr ? nullptr : record->instance.get();
    } catch (const utils::ESyntaxError&) {
        return nullptr;
    }
}

const InstanceStore& Workspace::ports()
{
    return current(m_ports, [this] {
        std::vector<PortRow> rows;
        for (const Adapter& adapter : adapters()) {
            rows.push_back({adapter, systemName()});
        }
        return rows;
    });
}

const InstanceStore& Workspace::statistics()
{
    return current(m_statistics, [this] {
        std::vector<StatisticsRow> rows;
        const std::vector<Adapter>& read = adapters();
        const std::uint64_t now = m_machine.now();
        for (const Adapter& adapter : read) {
            rows.push_back({adapter, now});
        }
        return rows;
    });
}

const InstanceStore& Workspace::endpoints()
{
    return current(m_endpoints, [this] {
        std::vector<EndpointRow> rows;
        for (const Address& address : addresses()) {
            rows.push_back({address, systemName()});
        }
        return rows;
    });
}

const InstanceStore& Workspace::software()
{
    return current(m_software, [] { return std::vector<SoftwareRow>(1); });
}

const InstanceStore& Workspace::profiles()
{
    return current(m_profiles, [] { return std::vector<ProfileRow>(1); });
}

const InstanceStore& Workspace::portImplementsEndpoint()
{
    return current(m_portImplementsEndpoint, [this] {
        std::unordered_map<std::string, const InstanceStore::Record*> portsByGuid;
        for (const InstanceStore::Record& port : ports().records()) {
            portsByGuid.emplace(port.identity, &port);
        }
        std::vector<AssociationRow> rows;
        const std::vector<InstanceStore::Record>& endpointRecords = endpoints().records();
        for (std::size_t i = 0; i < endpointRecords.size(); ++i) {
            // Adapters and addresses are read by two calls: an adapter may come between them.
            const auto port = portsByGuid.find(addresses()[i].adapterGuid);
            if (port != portsByGuid.end()) {
                rows.push_back({*port->second, endpointRecords[i]});
            }
        }
        return rows;
    });
}

const InstanceStore& Workspace::elementConformsToProfile()
{
    return current(m_elementConformsToProfile, [this] {
        std::vector<AssociationRow> rows;
        for (const InstanceStore::Record& profile : profiles().records()) {
            for (const InstanceStore::Record& port : ports().records()) {
                rows.push_back({profile, port});
            }
        }
        return rows;
    });
}

template <class Row, class MakeRows>
const InstanceStore& Workspace::current(Slot<Row>& slot, MakeRows makeRows)
{
    if (slot.request != m_request) {
        slot.store.refresh(makeRows());
        slot.request = m_request;
    }
    return slot.store;
}

const std::string& Workspace::systemName()
{
    if (!m_systemName) {
        m_systemName = m_machine.computerName();
    }
    return *m_systemName;
}

const std::vector<Adapter>& Workspace::adapters()
{
    if (!m_adapters) {
        m_adapters = m_adapterSource.readAdapters();
    }
    return *m_adapters;
}

const std::vector<Address>& Workspace::addresses()
{
    if (!m_addresses) {
        m_addresses = m_adapterSource.readAddresses();
    }
    return *m_addresses;
}

}  // namespace companion
