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
    const std::vector<InstanceStore::Record>& ports = workspace.references(ETHERNET_PORT).records();
    const std::vector<InstanceStore::Record>& settings = workspace.references(DIAGNOSTIC_SETTING).records();
    std::vector<Association> result;
    result.reserve(ports.size() * settings.size());
    for (const InstanceStore::Record& port : ports) {
        for (const InstanceStore::Record& setting : settings) {
            result.push_back({port, setting});
        }
    }
    return result;
}

constexpr std::array columns{key<&firstEnd>("ManagedElement"), key<&secondEnd>("SettingData")};

constexpr ClassDescription<Association> definition{
    .name = "Zerix_PortDiagnosticSetting", .columns = columns, .id = &associationId, .rows = &rows};

}  // namespace

const ServedClass portDiagnosticSetting = serve<definition>();

}  // namespace broker
