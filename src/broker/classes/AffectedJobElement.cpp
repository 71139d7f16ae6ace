#include <array>

#include "broker/classes/Association.h"
#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

// A job whose adapter is gone affects no port.
std::vector<Association> rows(Workspace& workspace)
{
    std::vector<Association> result;
    const InstanceStore& jobs = workspace.references(CONCRETE_JOB);
    for (const JobStatus& status : workspace.sources().jobs.jobs()) {
        // Inside the loop, so that without jobs the platform is not asked.
        const InstanceStore::Record* port = workspace.references(ETHERNET_PORT).withId(status.adapterGuid);
        // Jobs are read twice, and a new one may come in between.
        const InstanceStore::Record* job = jobs.withId(status.id);
        if (port != nullptr && job != nullptr) {
            result.push_back({*port, *job});
        }
    }
    return result;
}

constexpr std::array columns{key<&firstEnd>("AffectedElement"), key<&secondEnd>("AffectingElement")};

constexpr ClassDescription<Association> definition{
    .name = "Zerix_AffectedJobElement", .columns = columns, .id = &associationId, .rows = &rows};

}  // namespace

const ServedClass affectedJobElement = serve<definition>();

}  // namespace broker
