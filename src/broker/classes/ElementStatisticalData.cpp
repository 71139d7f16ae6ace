#include <array>

#include "broker/classes/Association.h"
#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

std::vector<Association> rows(Workspace& workspace)
{
    std::vector<Association> result;
    const InstanceStore& statistics = workspace.references(ETHERNET_PORT_STATISTICS);
    for (const InstanceStore::Record& port : workspace.references(ETHERNET_PORT).records()) {
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
