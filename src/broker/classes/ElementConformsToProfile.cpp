#include <array>

#include "broker/classes/Association.h"
#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

std::vector<Association> rows(Workspace& workspace)
{
    const std::vector<InstanceStore::Record>& profiles = workspace.references(REGISTERED_PROFILE).records();
    const std::vector<InstanceStore::Record>& ports = workspace.references(ETHERNET_PORT).records();
    std::vector<Association> result;
    result.reserve(profiles.size() * ports.size());
    for (const InstanceStore::Record& profile : profiles) {
        for (const InstanceStore::Record& port : ports) {
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
