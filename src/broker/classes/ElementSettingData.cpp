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
    const InstanceStore& settings = workspace.references(ADAPTER_SETTING);
    for (const InstanceStore::Record& port : workspace.references(ETHERNET_PORT).records()) {
        // Both are made from the same adapters.
        result.push_back({port, *settings.withId(port.id)});
    }
    return result;
}

constexpr std::array columns{key<&firstEnd>("ManagedElement"), key<&secondEnd>("SettingData")};

constexpr ClassDescription<Association> definition{
    .name = "Zerix_ElementSettingData", .columns = columns, .id = &associationId, .rows = &rows};

}  // namespace

const ServedClass elementSettingData = serve<definition>();

}  // namespace broker
