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
    // Both are made from the same adapters.
    return withSameId(workspace.references(ETHERNET_PORT), statistics);
}

constexpr std::array columns{key<&firstEnd>("ManagedElement"), key<&secondEnd>("Stats")};

constexpr ClassDescription<Association> definition{
    .name = "Zerix_ElementStatisticalData", .columns = columns, .id = &associationId, .rows = &rows};

}  // namespace

const ServedClass elementStatisticalData = serve<definition>();

}  // namespace broker
