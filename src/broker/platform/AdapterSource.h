#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "broker/platform/Clocks.h"

namespace broker {

// The states of an interface, numbered as in RFC 2863.
enum class OperationalState
{
    UP = 1,
    DOWN = 2,
    TESTING = 3,
    UNKNOWN = 4,
    DORMANT = 5,
    NOT_PRESENT = 6,
    LOWER_LAYER_DOWN = 7
};

enum class AdministrativeState
{
    UP = 1,
    DOWN = 2,
    TESTING = 3
};

// Whether the medium is connected: a cable is plugged in, or a radio is associated.
enum class MediaState
{
    UNKNOWN = 0,
    CONNECTED = 1,
    DISCONNECTED = 2
};

// Counted since the start of the machine or of the driver. Bytes include framing.
struct Counters
{
    std::uint64_t bytesReceived = 0;
    std::uint64_t bytesTransmitted = 0;
    std::uint64_t unicastPacketsReceived = 0;
    std::uint64_t unicastPacketsTransmitted = 0;
    // Multicast and broadcast together.
    std::uint64_t nonUnicastPacketsReceived = 0;
    std::uint64_t nonUnicastPacketsTransmitted = 0;
    std::uint64_t receiveErrors = 0;
    std::uint64_t transmitErrors = 0;
    std::uint64_t receiveDiscards = 0;
    std::uint64_t transmitDiscards = 0;
    // Packets of protocols that this machine does not have.
    std::uint64_t unknownProtocolsReceived = 0;
    // All six are 0 if the driver only counts bytes in total.
    std::uint64_t unicastBytesReceived = 0;
    std::uint64_t unicastBytesTransmitted = 0;
    std::uint64_t multicastBytesReceived = 0;
    std::uint64_t multicastBytesTransmitted = 0;
    std::uint64_t broadcastBytesReceived = 0;
    std::uint64_t broadcastBytesTransmitted = 0;
};

// A network adapter as the platform describes it. Texts are in the ANSI code page.
struct Adapter
{
    // The stable, unique id, with braces and upper-case digits. Names and hardware addresses are not unique.
    std::string guid;
    // The handle for calls about one adapter; valid while the adapter exists.
    std::uint64_t luid = 0;
    std::uint32_t index = 0;
    std::string name;
    std::string description;
    // Upper-case hexadecimal digits without separators, as many as the link technology has: six bytes on Ethernet,
    // twenty on InfiniBand. Empty if the adapter has none.
    std::string hardwareAddress;
    std::string permanentAddress;
    // Bits per second; empty when unknown.
    std::optional<std::uint64_t> transmitSpeed;
    std::optional<std::uint64_t> receiveSpeed;
    std::uint32_t mtu = 0;
    // The IANA number of the interface type.
    std::uint32_t type = 0;
    // The NDIS number of the physical medium; 0 when the driver does not say.
    std::uint32_t physicalMedium = 0;
    // Whether a device backs it, and whether that has a connector or a radio.
    bool isHardware = false;
    bool hasConnector = false;
    OperationalState operational = OperationalState::UNKNOWN;
    AdministrativeState administrative = AdministrativeState::UP;
    MediaState media = MediaState::UNKNOWN;
    Counters counters;
};

// What the driver of an adapter has reported of its link, beside what the table holds. Empty where it has not.
struct LinkDetails
{
    // The highest speed that the hardware supports, in bits per second.
    std::optional<std::uint64_t> maxSpeed;
    std::optional<bool> isFullDuplex;
};

enum class AddressFamily
{
    IPV4,
    IPV6
};

// The origin of an address's network prefix, as the platform reports it. The platform may be wrong: see isDhcpOn.
enum class AddressOrigin
{
    UNKNOWN,
    OTHER,
    MANUAL,
    WELL_KNOWN,
    DHCP,
    ROUTER_ADVERTISEMENT
};

// A unicast address in use. Addresses that are duplicates, are still being checked for duplicates, or belong to an
// adapter without a link are not in use.
struct Address
{
    std::string adapterGuid;
    AddressFamily family = AddressFamily::IPV4;
    // Without prefix length and zone.
    std::string text;
    // Empty if the platform reports none, or one that the family cannot have.
    std::optional<std::uint8_t> prefixLength;
    AddressOrigin origin = AddressOrigin::UNKNOWN;
    // Whether the adapter asks a DHCP server for addresses of this family.
    bool isDhcpOn = false;
    // 169.254.0.0/16 or fe80::/10.
    bool isLinkLocal = false;
};

// The parameters of IPv4 or IPv6 on an adapter. Empty if the platform does not report them.
struct FamilyConfiguration
{
    // Added to the metric of each route through the interface.
    std::optional<std::uint32_t> metric;
    std::optional<std::uint32_t> mtu;
};

// The configuration of IPv4 and IPv6 on an adapter. Addresses are without zone, in the platform's order.
struct IpConfiguration
{
    std::string adapterGuid;
    std::vector<std::string> gateways;
    std::vector<std::string> dnsServers;
    // The suffix of this connection; empty if it has none.
    std::string dnsSuffix;
    // DHCP for IPv4. Without a lease the server and both times are empty.
    bool isDhcpOn = false;
    std::string dhcpServer;
    std::optional<WallTime> leaseObtained;
    std::optional<WallTime> leaseExpires;
    FamilyConfiguration ipv4;
    FamilyConfiguration ipv6;
};

enum class StateChange
{
    // The platform has accepted the change; whether it has taken effect is not known.
    DONE,
    // The platform does not offer the change.
    NOT_SUPPORTED,
    // The platform tried or refused; the reason is in the log.
    FAILED
};

// Platform boundary: the machine's network adapters, read on every call; nothing is kept between calls. CONTRACT:
// returns only adapters that isPort accepts (broker/model/AdapterRules.h), hidden ones too, in the platform's order. If
// the platform refuses a table, it is asked once more; if it refuses again, the call throws, since an empty list would
// be a wrong answer. Any number of threads at once.
class AdapterSource
{
public:
    AdapterSource() = default;
    virtual ~AdapterSource() = default;
    AdapterSource(const AdapterSource&) = delete;
    AdapterSource& operator=(const AdapterSource&) = delete;

    // Throws utils::EFailed.
    virtual std::vector<Adapter> readAdapters() = 0;

    // Throws utils::EFailed.
    virtual std::vector<Address> readAddresses() = 0;

    // The configurations of all adapters with a bound protocol. Throws utils::EFailed.
    virtual std::vector<IpConfiguration> readIpConfigurations() = 0;

    // The GUIDs of the adapters whose drivers were installed as hidden: components that the platform shows in no user
    // interface. Empty where the platform keeps no list of drivers, as an emulated one may not, or the calling thread's
    // identity may not read it; nothing is logged.
    virtual std::vector<std::string> readHiddenAdapters() = 0;

    // A single adapter. Empty, with one error line, if it is gone or cannot be read.
    virtual std::optional<Adapter> readAdapter(std::uint64_t luid) = 0;

    // Empty when the platform does not let the calling thread's identity ask, or cannot answer: nothing is logged.
    virtual LinkDetails readLinkDetails(const Adapter& adapter) = 0;

    // Switches the adapter on or off, under the identity of the calling thread.
    virtual StateChange setAdministrativeState(const Adapter& adapter, AdministrativeState state) = 0;
};

}  // namespace broker
