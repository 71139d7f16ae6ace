#include <array>

#include "broker/classes/Association.h"
#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

std::vector<Association> rows(Workspace& workspace)
{
    const InstanceStore& ports = workspace.references(ETHERNET_PORT);
    const std::vector<InstanceStore::Record>& endpoints = workspace.references(IP_PROTOCOL_ENDPOINT).records();
    std::vector<Association> result;
    result.reserve(endpoints.size());
    for (std::size_t i = 0; i < endpoints.size(); ++i) {
        // Adapters and addresses are read by two calls, and a new adapter may come in between.
        if (const InstanceStore::Record* port = ports.withId(workspace.addresses()[i].adapterGuid)) {
            result.push_back({*port, endpoints[i]});
        }
    }
    return result;
}

constexpr std::array columns{key<&firstEnd>("Antecedent"), key<&secondEnd>("Dependent")};

constexpr ClassDescription<Association> definition{
    .name = "Zerix_PortImplementsEndpoint", .columns = columns, .id = &associationId, .rows = &rows};

}  // namespace

const ServedClass portImplementsEndpoint = serve<definition>();

}  // namespace broker
