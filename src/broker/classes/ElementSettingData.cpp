#include <array>

#include "broker/classes/Association.h"
#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

std::vector<Association> rows(Workspace& workspace)
{
    const InstanceStore& settings = workspace.references(ADAPTER_SETTING);
    // Both are made from the same adapters.
    return withSameId(workspace.references(ETHERNET_PORT), settings);
}

constexpr std::array columns{key<&firstEnd>("ManagedElement"), key<&secondEnd>("SettingData")};

constexpr ClassDescription<Association> definition{
    .name = "Zerix_ElementSettingData", .columns = columns, .id = &associationId, .rows = &rows};

}  // namespace

const ServedClass elementSettingData = serve<definition>();

}  // namespace broker
