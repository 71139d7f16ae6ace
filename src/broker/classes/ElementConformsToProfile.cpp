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
    for (const InstanceStore::Record& profile : workspace.references(REGISTERED_PROFILE).records()) {
        for (const InstanceStore::Record& port : workspace.references(ETHERNET_PORT).records()) {
            result.push_back({profile, port});
        }
    }
    return result;
}

constexpr std::array columns{key<&firstEnd>("ConformantStandard"), key<&secondEnd>("ManagedElement")};

constexpr ClassDescription<Association> definition{
    .name = "Zerix_ElementConformsToProfile", .columns = columns, .id = &associationId, .rows = &rows};

}  // namespace

const ServedClass elementConformsToProfile = serve<definition>();

}  // namespace broker
