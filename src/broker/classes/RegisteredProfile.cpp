#include <array>

#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

// These values are constants of the product, so there is one row and nothing to read.
struct Row
{
};

std::vector<Row> rows(Workspace& /*workspace*/)
{
    return std::vector<Row>(1);
}

std::string instanceId(const Row& /*row*/)
{
    return "Vexal:Profile:EthernetPort";
}

// The profile is the maker's own and not one of the DMTF's, whose clients may rely on more than this one has.
std::uint16_t organization(const Row& /*row*/)
{
    constexpr std::uint16_t OTHER = 1;
    return OTHER;
}

const char* otherOrganization(const Row& /*row*/)
{
    return "Vexal";
}

const char* profileName(const Row& /*row*/)
{
    return "Vexal Ethernet Port";
}

const char* profileVersion(const Row& /*row*/)
{
    return "1.0.0";
}

std::vector<std::uint16_t> advertiseTypes(const Row& /*row*/)
{
    constexpr std::uint16_t NOT_ADVERTISED = 2;
    return {NOT_ADVERTISED};
}

constexpr std::array columns{
    key<&instanceId>("InstanceID"),
    column<&organization>("RegisteredOrganization"),
    column<&otherOrganization>("OtherRegisteredOrganization"),
    column<&profileName>("RegisteredName"),
    column<&profileVersion>("RegisteredVersion"),
    column<&advertiseTypes>("AdvertiseTypes"),
};

constexpr ClassDescription<Row> definition{
    .name = REGISTERED_PROFILE, .columns = columns, .id = &instanceId, .rows = &rows};

}  // namespace

const ServedClass registeredProfile = serve<definition>();

}  // namespace broker
