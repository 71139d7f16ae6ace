#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "broker/jobs/Jobs.h"
#include "broker/model/ServedClass.h"
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
    Jobs& jobs;
};

// The instances that one thread's requests read, with the references between them. Belongs to one thread.
//
// A request begins with begin(). After that, the first use of a class brings it up to date, together with the classes
// it refers to. The platform is asked at most once for each kind of data. Instances are kept from request to request,
// but since each holds two handles of the process, begin() deletes those that its request does not need.
class Workspace final : public ReferenceResolver
{
public:
    // Up to this number of instances is kept even if the next request does not need them.
    static constexpr std::size_t KEPT_INSTANCES = 16;

    explicit Workspace(const Sources& sources);

    // Starts a request about the class, whose name is compared without case. All data of the previous request counts as
    // out of date. The instances of the class and those they refer to are kept.
    void begin(const std::string& className) noexcept;

    // The instances of the class, up to date; null for a class that is not served. Names are compared without case.
    const InstanceStore* instances(const std::string& className);

    // The targets of references to the class's instances, up to date. Each is an instance with only the keys.
    const InstanceStore& references(const char* className);

    // The record that the path names, up to date; null when there is none. Of the other instances of the class only the
    // keys are up to date.
    const InstanceStore::Record* find(const core::CimPath& path);

    // The store of the class, which must be served, as the last of the functions above left it.
    const InstanceStore& storeOf(const std::string& className) noexcept { return *classOf(className)->instances.store; }

    core::CimInstance* resolve(const std::string& text) override;

    const Sources& sources() const noexcept { return m_sources; }

    // The data that this request has read of the machine.
    const std::string& systemName();
    const std::vector<Adapter>& adapters();
    const std::vector<Address>& addresses();
    std::vector<IpConfiguration> ipConfigurations();

    // The data that this request has read about the adapter of a port.
    const Adapter& adapterOf(const InstanceStore::Record& port);

    // The instance of the job; null when there is none.
    core::CimInstance* job(const std::string& id);

private:
    // A store, and the number of the last request that brought it up to date, or one of its instances only.
    struct Slot
    {
        std::unique_ptr<InstanceStore> store;
        std::uint64_t request = 0;
        bool isWhole = false;
    };

    struct Class
    {
        const char* name;
        Slot instances;
        Slot references;
    };

    // Null for a class that is not served.
    Class* classOf(std::string_view name) noexcept;
    const InstanceStore& current(Slot& slot);
    // The rows whose adapters are not hidden.
    template <class Row>
    std::vector<Row> shown(std::vector<Row> rows, std::string Row::*adapterGuid);

    Sources m_sources;
    std::uint64_t m_request = 0;
    std::vector<Class> m_classes;
    // The data that this request has read.
    std::optional<std::string> m_systemName;
    std::optional<std::vector<std::string>> m_hiddenAdapters;
    std::optional<std::vector<Adapter>> m_adapters;
    std::optional<std::vector<Address>> m_addresses;
};

}  // namespace broker
