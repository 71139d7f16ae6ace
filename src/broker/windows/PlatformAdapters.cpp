#include "broker/windows/PlatformAdapters.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>
#include <netioapi.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "Os/Windows/AnsiText.h"
#include "Utils/Exception.h"
#include "Utils/Log.h"
#include "Utils/Utils.h"
#include "broker/model/AdapterRules.h"
#include "broker/windows/AddressTable.h"
#include "broker/windows/LinkSpeed.h"
#include "broker/windows/TableAnswer.h"

namespace broker {

namespace {

constexpr const char* FILE_NAME = "PlatformAdapters";

std::string guidText(const GUID& guid)
{
    const unsigned char* tail = guid.Data4;
    return utils::format("{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", static_cast<unsigned>(guid.Data1),
                         guid.Data2, guid.Data3, tail[0], tail[1], tail[2], tail[3], tail[4], tail[5], tail[6],
                         tail[7]);
}

// A driver without a permanent address leaves zeros.
std::string permanentAddress(const MIB_IF_ROW2& row)
{
    std::string digits = hexDigits(row.PermanentPhysicalAddress, row.PhysicalAddressLength);
    return digits.find_first_not_of('0') == std::string::npos ? std::string() : digits;
}

InterfaceTraits traitsOf(const MIB_IF_ROW2& row)
{
    return {row.Type, row.InterfaceAndOperStatusFlags.FilterInterface != FALSE, utils::narrow(row.Description),
            hexDigits(row.PhysicalAddress, row.PhysicalAddressLength)};
}

Counters countersFrom(const MIB_IF_ROW2& row)
{
    Counters counters;
    counters.bytesReceived = row.InOctets;
    counters.bytesTransmitted = row.OutOctets;
    counters.unicastPacketsReceived = row.InUcastPkts;
    counters.unicastPacketsTransmitted = row.OutUcastPkts;
    counters.nonUnicastPacketsReceived = row.InNUcastPkts;
    counters.nonUnicastPacketsTransmitted = row.OutNUcastPkts;
    counters.receiveErrors = row.InErrors;
    counters.transmitErrors = row.OutErrors;
    counters.receiveDiscards = row.InDiscards;
    counters.transmitDiscards = row.OutDiscards;
    counters.unknownProtocolsReceived = row.InUnknownProtos;
    counters.unicastBytesReceived = row.InUcastOctets;
    counters.unicastBytesTransmitted = row.OutUcastOctets;
    counters.multicastBytesReceived = row.InMulticastOctets;
    counters.multicastBytesTransmitted = row.OutMulticastOctets;
    counters.broadcastBytesReceived = row.InBroadcastOctets;
    counters.broadcastBytesTransmitted = row.OutBroadcastOctets;
    return counters;
}

// The traits are those of the row.
Adapter adapterFrom(const MIB_IF_ROW2& row, InterfaceTraits traits)
{
    Adapter adapter;
    adapter.guid = guidText(row.InterfaceGuid);
    adapter.luid = row.InterfaceLuid.Value;
    adapter.index = row.InterfaceIndex;
    adapter.name = utils::narrow(row.Alias);
    adapter.description = std::move(traits.description);
    adapter.hardwareAddress = std::move(traits.hardwareAddress);
    adapter.permanentAddress = permanentAddress(row);
    adapter.transmitSpeed = knownSpeed(row.TransmitLinkSpeed);
    adapter.receiveSpeed = knownSpeed(row.ReceiveLinkSpeed);
    adapter.mtu = row.Mtu;
    adapter.type = row.Type;
    adapter.physicalMedium = row.PhysicalMediumType;
    adapter.isHardware = row.InterfaceAndOperStatusFlags.HardwareInterface != FALSE;
    adapter.hasConnector = row.InterfaceAndOperStatusFlags.ConnectorPresent != FALSE;
    adapter.operational = static_cast<OperationalState>(row.OperStatus);
    adapter.administrative = static_cast<AdministrativeState>(row.AdminStatus);
    adapter.media = static_cast<MediaState>(row.MediaConnectState);
    adapter.counters = countersFrom(row);
    return adapter;
}

AddressOrigin originFrom(NL_PREFIX_ORIGIN origin)
{
    switch (origin) {
        case IpPrefixOriginOther:
            return AddressOrigin::OTHER;
        case IpPrefixOriginManual:
            return AddressOrigin::MANUAL;
        case IpPrefixOriginWellKnown:
            return AddressOrigin::WELL_KNOWN;
        case IpPrefixOriginDhcp:
            return AddressOrigin::DHCP;
        case IpPrefixOriginRouterAdvertisement:
            return AddressOrigin::ROUTER_ADVERTISEMENT;
        default:
            return AddressOrigin::UNKNOWN;
    }
}

// An adapter without a link keeps its addresses in the list as tentative ones, and a duplicate stays in the list too.
bool isInUse(const IP_ADAPTER_UNICAST_ADDRESS& unicast)
{
    return unicast.DadState == IpDadStatePreferred || unicast.DadState == IpDadStateDeprecated;
}

// The platform gives 255 for a prefix that it does not know.
std::optional<std::uint8_t> prefixLength(UINT8 length, std::uint8_t most)
{
    return length > most ? std::nullopt : std::make_optional<std::uint8_t>(length);
}

// Empty if the family is neither IPv4 nor IPv6.
std::optional<Address> addressFrom(const IP_ADAPTER_ADDRESSES& adapter, const IP_ADAPTER_UNICAST_ADDRESS& unicast)
{
    Address address;
    const SOCKADDR* socketAddress = unicast.Address.lpSockaddr;
    if (socketAddress->sa_family == AF_INET) {
        const in_addr& ipv4 = reinterpret_cast<const sockaddr_in*>(socketAddress)->sin_addr;
        address.family = AddressFamily::IPV4;
        address.prefixLength = prefixLength(unicast.OnLinkPrefixLength, 32);
        address.isDhcpOn = adapter.Dhcpv4Enabled != 0;
        address.isLinkLocal = ipv4.S_un.S_un_b.s_b1 == 169 && ipv4.S_un.S_un_b.s_b2 == 254;
    } else if (socketAddress->sa_family == AF_INET6) {
        const in6_addr& ipv6 = reinterpret_cast<const sockaddr_in6*>(socketAddress)->sin6_addr;
        address.family = AddressFamily::IPV6;
        address.prefixLength = prefixLength(unicast.OnLinkPrefixLength, 128);
        address.isDhcpOn = adapter.Ipv6ManagedAddressConfigurationSupported != 0;
        address.isLinkLocal = IN6_IS_ADDR_LINKLOCAL(&ipv6) != 0;
    } else {
        return std::nullopt;
    }
    address.adapterGuid = adapter.AdapterName;
    address.text = addressText(socketAddress);
    address.origin = originFrom(unicast.PrefixOrigin);
    return address;
}

}  // namespace

std::vector<Adapter> PlatformAdapters::readAdapters()
{
    MIB_IF_TABLE2* rows = nullptr;
    const ULONG status = asked([&rows] { return GetIfTable2(&rows); });
    if (meansNone(status)) {
        return {};
    }
    if (status != NO_ERROR) {
        throw utils::EFailed(utils::format("GetIfTable2 error %d", static_cast<int>(status)));
    }
    const std::unique_ptr<MIB_IF_TABLE2, TableFreer> table(rows);
    std::vector<Adapter> adapters;
    adapters.reserve(table->NumEntries);
    std::for_each(table->Table, table->Table + table->NumEntries, [&adapters](const MIB_IF_ROW2& row) {
        InterfaceTraits traits = traitsOf(row);
        if (isPort(traits)) {
            adapters.push_back(adapterFrom(row, std::move(traits)));
        }
    });
    return adapters;
}

std::vector<Address> PlatformAdapters::readAddresses()
{
    const AddressTable table(GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER);
    std::vector<Address> addresses;
    for (const IP_ADAPTER_ADDRESSES* adapter : table.ports()) {
        for (const IP_ADAPTER_UNICAST_ADDRESS* unicast = adapter->FirstUnicastAddress; unicast != nullptr;
             unicast = unicast->Next)
        {
            std::optional<Address> address = addressFrom(*adapter, *unicast);
            if (address && isInUse(*unicast)) {
                addresses.push_back(std::move(*address));
            }
        }
    }
    return addresses;
}

std::optional<Adapter> PlatformAdapters::readAdapter(std::uint64_t luid)
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::PlatformAdapters::readAdapter"};
    MIB_IF_ROW2 row{};
    row.InterfaceLuid.Value = luid;
    const ULONG status = GetIfEntry2(&row);
    if (status != NO_ERROR) {
        here.error("GetIfEntry2 error %d", status);
        return std::nullopt;
    }
    return adapterFrom(row, traitsOf(row));
}

StateChange PlatformAdapters::setAdministrativeState(const Adapter& adapter, AdministrativeState state)
{
    static constexpr utils::LogSite here{FILE_NAME, "broker::PlatformAdapters::setAdministrativeState"};
    MIB_IFROW row{};
    row.dwIndex = adapter.index;
    row.dwAdminStatus = static_cast<DWORD>(state);
    const DWORD status = SetIfEntry(&row);
    switch (status) {
        case NO_ERROR:
            return StateChange::DONE;
        case ERROR_NOT_SUPPORTED:
        case ERROR_CALL_NOT_IMPLEMENTED:
            return StateChange::NOT_SUPPORTED;
        default:
            here.error("SetIfEntry %s error %d", adapter.guid.c_str(), status);
            return StateChange::FAILED;
    }
}

}  // namespace broker
