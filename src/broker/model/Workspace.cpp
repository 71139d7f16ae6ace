#include "broker/model/Workspace.h"

#include <algorithm>
#include <utility>

#include "Utils/Exception.h"
#include "broker/model/Names.h"

namespace broker {

const std::array<Workspace::ServedClass, 12> Workspace::servedClasses{{
    {ETHERNET_PORT, &Workspace::ports},
    {ETHERNET_PORT_STATISTICS, &Workspace::statistics},
    {IP_PROTOCOL_ENDPOINT, &Workspace::endpoints},
    {SOFTWARE_IDENTITY, &Workspace::software},
    {REGISTERED_PROFILE, &Workspace::profiles},
    {ADAPTER_SETTING, &Workspace::adapterSettings},
    {DIAGNOSTIC_SETTING, &Workspace::diagnosticSettings},
    {CONCRETE_JOB, &Workspace::jobs},
    {DIAGNOSTIC_RESULT, &Workspace::results},
    {PORT_IMPLEMENTS_ENDPOINT, &Workspace::portImplementsEndpoint},
    {ELEMENT_CONFORMS_TO_PROFILE, &Workspace::elementConformsToProfile},
    {ELEMENT_SETTING_DATA, &Workspace::elementSettingData},
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
    const auto* const served =
        std::find_if(servedClasses.begin(), servedClasses.end(),
                     [&className](const ServedClass& entry) { return sameName(entry.name, className); });
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

const Adapter& Workspace::adapterOf(const InstanceStore::Record& port)
{
    const std::vector<Adapter>& read = adapters();
    // The port was made from one of them.
    return *std::find_if(read.begin(), read.end(),
                         [&port](const Adapter& adapter) { return adapter.guid == port.identity; });
}

core::CimInstance* Workspace::job(const std::string& id)
{
    const std::vector<InstanceStore::Record>& records = jobs().records();
    const auto record = std::find_if(records.begin(), records.end(), [&id](const InstanceStore::Record& candidate) {
        return candidate.identity == id;
    });
    return record == records.end() ? nullptr : record->instance.get();
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
        const std::uint64_t now = m_sources.machine.now();
        rows.reserve(read.size());
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

const InstanceStore& Workspace::adapterSettings()
{
    return current(m_adapterSettings, [this] {
        std::vector<AdapterSettingRow> rows;
        for (const Adapter& adapter : adapters()) {
            rows.push_back({adapter.guid, m_sources.settings.adapterSetting(adapter.guid)});
        }
        return rows;
    });
}

const InstanceStore& Workspace::diagnosticSettings()
{
    return current(m_diagnosticSettings, [this] { return std::vector{m_sources.settings.diagnosticSetting()}; });
}

const InstanceStore& Workspace::jobs()
{
    return current(m_jobs, [this] {
        std::vector<JobRow> rows;
        for (JobTable::Entry& entry : m_sources.jobs.jobs()) {
            rows.push_back({m_sources.jobs, std::move(entry)});
        }
        return rows;
    });
}

const InstanceStore& Workspace::results()
{
    return current(m_results, [this] {
        std::vector<DiagnosticResultRow> rows;
        const auto found = m_sources.jobs.results();
        if (found.empty()) {
            return rows;
        }
        const auto portOf = portsByGuid();
        for (const std::shared_ptr<const DiagnosticResult>& result : found) {
            const auto port = portOf.find(result->adapterGuid);
            rows.push_back({result, port == portOf.end() ? nullptr : port->second->instance.get()});
        }
        return rows;
    });
}

const InstanceStore& Workspace::portImplementsEndpoint()
{
    return current(m_portImplementsEndpoint, [this] {
        const auto portOf = portsByGuid();
        std::vector<AssociationRow> rows;
        const std::vector<InstanceStore::Record>& endpointRecords = endpoints().records();
        for (std::size_t i = 0; i < endpointRecords.size(); ++i) {
            // Adapters and addresses are read by two calls: an adapter may come between them.
            const auto port = portOf.find(addresses()[i].adapterGuid);
            if (port != portOf.end()) {
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

const InstanceStore& Workspace::elementSettingData()
{
    return current(m_elementSettingData, [this] {
        std::vector<AssociationRow> rows;
        const std::vector<InstanceStore::Record>& portRecords = ports().records();
        const std::vector<InstanceStore::Record>& settingRecords = adapterSettings().records();
        // Both are made from the same adapters, one after the other.
        for (std::size_t i = 0; i < portRecords.size(); ++i) {
            rows.push_back({portRecords[i], settingRecords[i]});
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

std::unordered_map<std::string, const InstanceStore::Record*> Workspace::portsByGuid()
{
    std::unordered_map<std::string, const InstanceStore::Record*> result;
    for (const InstanceStore::Record& port : ports().records()) {
        result.emplace(port.identity, &port);
    }
    return result;
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
        m_adapters = m_sources.adapters.readAdapters();
    }
    return *m_adapters;
}

const std::vector<Address>& Workspace::addresses()
{
    if (!m_addresses) {
        m_addresses = m_sources.adapters.readAddresses();
    }
    return *m_addresses;
}

}  // namespace broker
