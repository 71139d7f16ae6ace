#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "broker/classes/AssociationClasses.h"
#include "broker/classes/EndpointClasses.h"
#include "broker/classes/JobClasses.h"
#include "broker/classes/PortClasses.h"
#include "broker/classes/SettingClasses.h"
#include "broker/classes/SoftwareClasses.h"
#include "broker/jobs/JobTable.h"
#include "broker/model/InstanceStore.h"
#include "broker/model/SettingsStore.h"
#include "broker/platform/AdapterSource.h"
#include "broker/platform/Machine.h"

namespace broker {

// Where instances come from. All must outlive the workspaces that use them.
struct Sources
{
    AdapterSource& adapters;
    Machine& machine;
    SettingsStore& settings;
    JobTable& jobs;
};

// All instances that one request may read, with the references between them. Kept from request to request, so that an
// instance is built once and later only brought up to date. Belongs to one thread at a time.
//
// A request begins with begin(). After that each class is brought up to date when it is first asked for, together with
// the classes it refers to, and the platform is asked at most once for each kind of thing.
class Workspace final : public ReferenceResolver
{
public:
    explicit Workspace(const Sources& sources) noexcept : m_sources(sources) {}

    // Starts a request: whatever was read for the one before counts as out of date.
    void begin() noexcept;

    // The instances of the class, up to date; null for a class that is not served. Names are compared without case.
    const InstanceStore* instances(const std::string& className);

    // The record that the path names, up to date; null when there is none.
    const InstanceStore::Record* find(const core::CimPath& path);

    core::CimInstance* resolve(const std::string& path) override;

    // What this request has read about the adapter of a port.
    const Adapter& adapterOf(const InstanceStore::Record& port);

    // The instance of the job; null when there is none.
    core::CimInstance* job(const std::string& id);

private:
    // A store and the number of the request that has brought it up to date.
    template <class Row>
    struct Slot
    {
        explicit Slot(const ClassDescription<Row>& description) noexcept : store(description) {}

        DescribedStore<Row> store;
        std::uint64_t request = 0;
    };

    struct ServedClass
    {
        const char* name;
        const InstanceStore& (Workspace::*instances)();
    };

    static const std::array<ServedClass, 12> servedClasses;

    const InstanceStore& ports();
    const InstanceStore& statistics();
    const InstanceStore& endpoints();
    const InstanceStore& software();
    const InstanceStore& profiles();
    const InstanceStore& adapterSettings();
    const InstanceStore& diagnosticSettings();
    const InstanceStore& jobs();
    const InstanceStore& results();
    const InstanceStore& portImplementsEndpoint();
    const InstanceStore& elementConformsToProfile();
    const InstanceStore& elementSettingData();

    // Brings the slot up to date unless this request has done so; `makeRows` is called only then.
    template <class Row, class MakeRows>
    const InstanceStore& current(Slot<Row>& slot, MakeRows makeRows);

    const std::string& systemName();
    const std::vector<Adapter>& adapters();
    const std::vector<Address>& addresses();

    // The records of the ports by the GUIDs of their adapters.
    std::unordered_map<std::string, const InstanceStore::Record*> portsByGuid();

    Sources m_sources;
    std::uint64_t m_request = 0;
    // What this request has read.
    std::optional<std::string> m_systemName;
    std::optional<std::vector<Adapter>> m_adapters;
    std::optional<std::vector<Address>> m_addresses;

    Slot<PortRow> m_ports{ethernetPortClass};
    Slot<StatisticsRow> m_statistics{ethernetPortStatisticsClass};
    Slot<EndpointRow> m_endpoints{ipProtocolEndpointClass};
    Slot<SoftwareRow> m_software{softwareIdentityClass};
    Slot<ProfileRow> m_profiles{registeredProfileClass};
    Slot<AdapterSettingRow> m_adapterSettings{adapterSettingClass};
    Slot<DiagnosticSetting> m_diagnosticSettings{diagnosticSettingClass};
    Slot<JobRow> m_jobs{concreteJobClass};
    Slot<DiagnosticResultRow> m_results{diagnosticResultClass};
    Slot<AssociationRow> m_portImplementsEndpoint{portImplementsEndpointClass};
    Slot<AssociationRow> m_elementConformsToProfile{elementConformsToProfileClass};
    Slot<AssociationRow> m_elementSettingData{elementSettingDataClass};
};

}  // namespace broker
