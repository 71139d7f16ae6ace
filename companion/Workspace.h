#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "companion/AdapterSource.h"
#include "companion/AssociationClasses.h"
#include "companion/EndpointClasses.h"
#include "companion/InstanceStore.h"
#include "companion/Machine.h"
#include "companion/PortClasses.h"
#include "companion/SoftwareClasses.h"

namespace companion {

// All instances that one request may read, with the references between them. Kept from request to request, so that an
// instance is built once and later only brought up to date. Belongs to one thread at a time.
//
// A request begins with begin(). After that each class is brought up to date when it is first asked for, together with
// the classes it refers to, and the platform is asked at most once for each kind of thing.
class Workspace : public ReferenceResolver
{
public:
    // Both must outlive the workspace.
    Workspace(AdapterSource& adapters, Machine& machine) noexcept : m_adapterSource(adapters), m_machine(machine) {}

    // Starts a request: whatever was read for the one before counts as out of date.
    void begin() noexcept;

    // The instances of the class, up to date; null for a class that is not served. Names are compared without case.
    const InstanceStore* instances(const std::string& className);

    // The record that the path names, up to date; null when there is none.
    const InstanceStore::Record* find(const core::CimPath& path);

    core::CimInstance* resolve(const std::string& path) override;

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

    static const std::array<ServedClass, 7> servedClasses;

    const InstanceStore& ports();
    const InstanceStore& statistics();
    const InstanceStore& endpoints();
    const InstanceStore& software();
    const InstanceStore& profiles();
    const InstanceStore& portImplementsEndpoint();
    const InstanceStore& elementConformsToProfile();

    // Brings the slot up to date unless this request has done so; `makeRows` is called only then.
    template <class Row, class MakeRows>
    const InstanceStore& current(Slot<Row>& slot, MakeRows makeRows);

    const std::string& systemName();
    const std::vector<Adapter>& adapters();
    const std::vector<Address>& addresses();

    AdapterSource& m_adapterSource;
    Machine& m_machine;

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
    Slot<AssociationRow> m_portImplementsEndpoint{portImplementsEndpointClass};
    Slot<AssociationRow> m_elementConformsToProfile{elementConformsToProfileClass};
};

}  // namespace companion
