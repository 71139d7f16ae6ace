#include <array>

#include "broker/classes/ClassNames.h"
#include "broker/classes/ServedClasses.h"
#include "broker/classes/Times.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

std::vector<IpConfiguration> rows(Workspace& workspace)
{
    return workspace.ipConfigurations();
}

std::string id(const IpConfiguration& row)
{
    return row.adapterGuid;
}

std::optional<std::string> known(const std::string& text)
{
    return text.empty() ? std::nullopt : std::make_optional(text);
}

std::optional<utils::Time> known(const std::optional<WallTime>& time)
{
    return time ? std::make_optional(timestamp(*time)) : std::nullopt;
}

std::string instanceId(const IpConfiguration& row)
{
    return "Vexal:IPConfiguration:" + row.adapterGuid;
}
std::optional<std::string> dnsSuffix(const IpConfiguration& row)
{
    return known(row.dnsSuffix);
}
std::optional<std::string> dhcpServer(const IpConfiguration& row)
{
    return known(row.dhcpServer);
}
std::optional<utils::Time> leaseObtained(const IpConfiguration& row)
{
    return known(row.leaseObtained);
}
std::optional<utils::Time> leaseExpires(const IpConfiguration& row)
{
    return known(row.leaseExpires);
}

template <FamilyConfiguration IpConfiguration::*Family, std::optional<std::uint32_t> FamilyConfiguration::*Value>
const std::optional<std::uint32_t>& ofFamily(const IpConfiguration& row)
{
    return row.*Family.*Value;
}

constexpr std::array columns{
    key<&instanceId>("InstanceID"),
    column<&IpConfiguration::gateways>("DefaultGateways"),
    column<&IpConfiguration::dnsServers>("DNSServers"),
    column<&dnsSuffix>("DNSSuffix"),
    column<&IpConfiguration::isDhcpOn>("DHCPEnabled"),
    column<&dhcpServer>("DHCPServer"),
    // A lease is renewed between a client's reading and its put.
    column<&leaseObtained>("DHCPLeaseObtained", PutRule::VOLATILE),
    column<&leaseExpires>("DHCPLeaseExpires", PutRule::VOLATILE),
    column<&ofFamily<&IpConfiguration::ipv4, &FamilyConfiguration::metric>>("IPv4Metric"),
    column<&ofFamily<&IpConfiguration::ipv6, &FamilyConfiguration::metric>>("IPv6Metric"),
    column<&ofFamily<&IpConfiguration::ipv4, &FamilyConfiguration::mtu>>("IPv4MTU"),
    column<&ofFamily<&IpConfiguration::ipv6, &FamilyConfiguration::mtu>>("IPv6MTU"),
};

constexpr ClassDescription<IpConfiguration> definition{
    .name = "Zerix_IPConfiguration", .columns = columns, .id = &id, .rows = &rows};

}  // namespace

const ServedClass ipConfiguration = serve<definition>();

}  // namespace broker
