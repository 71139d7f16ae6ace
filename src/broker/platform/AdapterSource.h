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

// Whether the adapter's medium carries: a cable is plugged in, a radio is associated.
enum class MediaState
{
    UNKNOWN = 0,
    CONNECTED = 1,
    DISCONNECTED = 2
};

// Since the machine started, or since the driver did. Bytes include framing.
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
    // Packets that no protocol of this machine wanted.
    std::uint64_t unknownProtocolsReceived = 0;
    // All six are 0 where the driver counts bytes as a whole only.
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
    // With braces and upper-case digits. Tells adapters apart; names and hardware addresses may coincide.
    std::string guid;
    // The handle of single-adapter calls; valid while the adapter is there.
    std::uint64_t luid = 0;
    std::uint32_t index = 0;
    std::string name;
    std::string description;
    // Upper-case hexadecimal digits without separators, as many as the link technology has: six bytes on Ethernet,
    // twenty on InfiniBand. Empty for an adapter that has none.
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
    // Backed by a device, and with a connector or a radio for it.
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

// Where the network prefix of an address comes from, as the platform says. It may be wrong: see isDhcpOn.
enum class AddressOrigin
{
    UNKNOWN,
    OTHER,
    MANUAL,
    WELL_KNOWN,
    DHCP,
    ROUTER_ADVERTISEMENT
};

// A unicast address of an adapter that is in use: not one that is still being checked for duplicates, is a duplicate,
// or belongs to an adapter that lost its link.
struct Address
{
    std::string adapterGuid;
    AddressFamily family = AddressFamily::IPV4;
    // Without prefix length and zone.
    std::string text;
    // Empty when the platform gives none that the family could have.
    std::optional<std::uint8_t> prefixLength;
    AddressOrigin origin = AddressOrigin::UNKNOWN;
    // Whether the adapter asks a DHCP server for addresses of this family.
    bool isDhcpOn = false;
    // 169.254.0.0/16 or fe80::/10.
    bool isLinkLocal = false;
};

// What one family of the internet's protocols goes by on an adapter. Empty when the platform does not say.
struct FamilyConfiguration
{
    // What the interface adds to the metric of a route through it.
    std::optional<std::uint32_t> metric;
    std::optional<std::uint32_t> mtu;
};

// How an adapter is set up for the internet's protocols. Addresses are without zone, in the platform's order.
struct IpConfiguration
{
    std::string adapterGuid;
    std::vector<std::string> gateways;
    std::vector<std::string> dnsServers;
    // Of this connection; empty for none.
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

// Platform boundary: the machine's network adapters, read live on every call; nothing is kept between calls.
// CONTRACT: only what isPort accepts (broker/model/AdapterRules.h); adapters come in the platform's order.
// A table that the platform refuses is asked for once more and then is a failure, which is thrown: none is an answer,
// and a wrong one here. Any thread, several at once.
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

    // Of the adapters that a protocol is bound to. Throws utils::EFailed.
    virtual std::vector<IpConfiguration> readIpConfigurations() = 0;

    // One adapter alone; empty, and one error line, when it is gone or cannot be read.
    virtual std::optional<Adapter> readAdapter(std::uint64_t luid) = 0;

    // Empty when the platform does not let the calling thread's identity ask, or cannot answer: nothing is logged.
    virtual LinkDetails readLinkDetails(const Adapter& adapter) = 0;

    // Switches the adapter on or off, under the identity of the calling thread.
    virtual StateChange setAdministrativeState(const Adapter& adapter, AdministrativeState state) = 0;
};

}  // namespace broker
