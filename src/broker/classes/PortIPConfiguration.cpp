#include <array>

#include "broker/classes/Association.h"
#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

std::vector<Association> rows(Workspace& workspace)
{
    const InstanceStore& ports = workspace.references(ETHERNET_PORT);
    const std::vector<InstanceStore::Record>& configurations = workspace.references("Zerix_IPConfiguration").records();
    std::vector<Association> result;
    result.reserve(configurations.size());
    for (const InstanceStore::Record& configuration : configurations) {
        // Adapters and configurations are read by two calls, and a new adapter may come in between.
        if (const InstanceStore::Record* port = ports.withId(configuration.id)) {
            result.push_back({*port, configuration});
        }
    }
    return result;
}

constexpr std::array columns{key<&firstEnd>("ManagedElement"), key<&secondEnd>("SettingData")};

constexpr ClassDescription<Association> definition{
    .name = "Zerix_PortIPConfiguration", .columns = columns, .id = &associationId, .rows = &rows};

}  // namespace

const ServedClass portIPConfiguration = serve<definition>();

}  // namespace broker
