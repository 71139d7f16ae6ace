#include <array>

#include "Utils/Utils.h"
#include "broker/classes/ClassNames.h"
#include "broker/classes/Rows.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

// Refers to data that the workspace has read for the request.
struct Row
{
    const Address& address;
    const std::string& systemName;
};

// One row for each address, in the same order.
std::vector<Row> rows(Workspace& workspace)
{
    return rowsOf(workspace.addresses(), [&](const Address& address) { return Row{address, workspace.systemName()}; });
}

std::optional<std::string> textOfFamily(const Address& address, AddressFamily family)
{
    return address.family == family ? std::make_optional(address.text) : std::nullopt;
}

const char* systemClassName(const Row& /*row*/)
{
    return COMPUTER_SYSTEM;
}
const std::string& systemName(const Row& row)
{
    return row.systemName;
}
const char* className(const Row& /*row*/)
{
    return IP_PROTOCOL_ENDPOINT;
}
// Unique on the machine, since an adapter has each address once. Contains no quote or backslash.
std::string name(const Row& row)
{
    return row.address.adapterGuid + ":" + row.address.text;
}
std::optional<std::string> ipv4Address(const Row& row)
{
    return textOfFamily(row.address, AddressFamily::IPV4);
}
std::optional<std::string> ipv6Address(const Row& row)
{
    return textOfFamily(row.address, AddressFamily::IPV6);
}

std::optional<std::string> subnetMask(const Row& row)
{
    constexpr std::uint32_t ALL_BITS = 32;
    if (row.address.family != AddressFamily::IPV4 || !row.address.prefixLength) {
        return std::nullopt;
    }
    // As 64 bits: shifting a 32-bit number by 32, for the empty prefix, is undefined.
    const std::uint64_t mask = (0xFFFFFFFFULL << (ALL_BITS - *row.address.prefixLength)) & 0xFFFFFFFFULL;
    const auto byte = [mask](int shift) { return static_cast<int>((mask >> shift) & 0xFFU); };
    return utils::format("%d.%d.%d.%d", byte(24), byte(16), byte(8), byte(0));
}

std::optional<std::uint8_t> prefixLength(const Row& row)
{
    return row.address.prefixLength;
}

std::uint16_t protocolType(const Row& row)
{
    constexpr std::uint16_t IPV4 = 4096;
    constexpr std::uint16_t IPV6 = 4097;
    return row.address.family == AddressFamily::IPV4 ? IPV4 : IPV6;
}

// The values of CIM_IPProtocolEndpoint.AddressOrigin.
enum Origin : std::uint16_t
{
    UNKNOWN = 0,
    OTHER = 1,
    STATIC = 3,
    DHCP = 4,
    IPV4_LINK_LOCAL = 6,
    DHCPV6 = 7,
    IPV6_AUTOCONFIG = 8,
    LINK_LOCAL = 10
};

// The platform's value counts only if no other data of the platform contradicts it.
std::uint16_t addressOrigin(const Row& row)
{
    const Address& address = row.address;
    const bool isIpv4 = address.family == AddressFamily::IPV4;
    if (address.origin == AddressOrigin::MANUAL) {
        return STATIC;
    }
    if (address.isLinkLocal) {
        // Only the machine itself assigns addresses of these ranges.
        return isIpv4 ? IPV4_LINK_LOCAL : LINK_LOCAL;
    }
    switch (address.origin) {
        case AddressOrigin::DHCP:
            if (!address.isDhcpOn) {
                return UNKNOWN;
            }
            return isIpv4 ? DHCP : DHCPV6;
        case AddressOrigin::ROUTER_ADVERTISEMENT:
            return isIpv4 ? UNKNOWN : IPV6_AUTOCONFIG;
        case AddressOrigin::OTHER:
        case AddressOrigin::WELL_KNOWN:
            return OTHER;
        default:
            return UNKNOWN;
    }
}

constexpr std::array columns{
    keyWithoutCase<&systemClassName>("SystemCreationClassName"),
    keyWithoutCase<&systemName>("SystemName"),
    keyWithoutCase<&className>("CreationClassName"),
    keyWithoutCase<&name>("Name"),
    column<&ipv4Address>("IPv4Address"),
    column<&ipv6Address>("IPv6Address"),
    column<&subnetMask>("SubnetMask"),
    column<&prefixLength>("PrefixLength"),
    column<&protocolType>("ProtocolIFType"),
    column<&addressOrigin>("AddressOrigin"),
};

constexpr ClassDescription<Row> definition{
    .name = IP_PROTOCOL_ENDPOINT, .columns = columns, .id = &name, .rows = &rows};

}  // namespace

const ServedClass ipProtocolEndpoint = serve<definition>();

}  // namespace broker
