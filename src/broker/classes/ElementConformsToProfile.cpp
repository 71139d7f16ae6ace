#include <array>

#include "broker/classes/Association.h"
#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

std::vector<Association> rows(Workspace& workspace)
{
    const InstanceStore& profiles = workspace.references(REGISTERED_PROFILE);
    return everyPair(profiles, workspace.references(ETHERNET_PORT));
}

constexpr std::array columns{key<&firstEnd>("ConformantStandard"), key<&secondEnd>("ManagedElement")};

constexpr ClassDescription<Association> definition{
    .name = "Zerix_ElementConformsToProfile", .columns = columns, .id = &associationId, .rows = &rows};

}  // namespace

const ServedClass elementConformsToProfile = serve<definition>();

}  // namespace broker
