#include <array>

#include "broker/classes/Association.h"
#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

std::vector<Association> rows(Workspace& workspace)
{
    const InstanceStore& statistics = workspace.references(ETHERNET_PORT_STATISTICS);
    const std::vector<InstanceStore::Record>& ports = workspace.references(ETHERNET_PORT).records();
    std::vector<Association> result;
    result.reserve(ports.size());
    for (const InstanceStore::Record& port : ports) {
        // Both are made from the same adapters.
        result.push_back({port, *statistics.withId(port.id)});
    }
    return result;
}

constexpr std::array columns{key<&firstEnd>("ManagedElement"), key<&secondEnd>("Stats")};

constexpr ClassDescription<Association> definition{
    .name = "Zerix_ElementStatisticalData", .columns = columns, .id = &associationId, .rows = &rows};

}  // namespace

const ServedClass elementStatisticalData = serve<definition>();

}  // namespace broker
