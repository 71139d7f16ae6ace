#include <array>

#include "broker/classes/Association.h"
#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

// The diagnostics of all ports use the same setting.
std::vector<Association> rows(Workspace& workspace)
{
    const InstanceStore& ports = workspace.references(ETHERNET_PORT);
    return everyPair(ports, workspace.references(DIAGNOSTIC_SETTING));
}

constexpr std::array columns{key<&firstEnd>("ManagedElement"), key<&secondEnd>("SettingData")};

constexpr ClassDescription<Association> definition{
    .name = "Zerix_PortDiagnosticSetting", .columns = columns, .id = &associationId, .rows = &rows};

}  // namespace

const ServedClass portDiagnosticSetting = serve<definition>();

}  // namespace broker
