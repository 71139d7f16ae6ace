#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

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

// Since the machine started. Octets include framing.
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
    // Upper-case hexadecimal digits without separators; empty for an adapter that has none.
    std::string hardwareAddress;
    std::string permanentAddress;
    // Bits per second; empty when unknown.
    std::optional<std::uint64_t> transmitSpeed;
    std::optional<std::uint64_t> receiveSpeed;
    std::uint32_t mtu = 0;
    // The IANA number of the interface type.
    std::uint32_t type = 0;
    OperationalState operational = OperationalState::UNKNOWN;
    AdministrativeState administrative = AdministrativeState::UP;
    Counters counters;
};

enum class AddressFamily
{
    IPV4,
    IPV6
};

// Where the network prefix of an address comes from.
enum class AddressOrigin
{
    OTHER,
    MANUAL,
    WELL_KNOWN,
    DHCP,
    ROUTER_ADVERTISEMENT
};

// A unicast address of an adapter.
struct Address
{
    std::string adapterGuid;
    AddressFamily family = AddressFamily::IPV4;
    // Without prefix length and zone.
    std::string text;
    std::uint8_t prefixLength = 0;
    AddressOrigin origin = AddressOrigin::OTHER;
};

enum class StateChange
{
    DONE,
    // The platform does not offer the change.
    NOT_SUPPORTED,
    // The platform tried or refused; the reason is in the log.
    FAILED
};

// Platform boundary: the machine's network adapters, read live on every call; nothing is kept between calls.
// CONTRACT: loopback and the platform's filter interfaces are left out; adapters come in the platform's order.
// A platform call that fails gives an empty result and writes one error line. Any thread, several at once.
class AdapterSource
{
public:
    AdapterSource() = default;
    virtual ~AdapterSource() = default;
    AdapterSource(const AdapterSource&) = delete;
    AdapterSource& operator=(const AdapterSource&) = delete;

    virtual std::vector<Adapter> readAdapters() = 0;

    virtual std::vector<Address> readAddresses() = 0;

    // One adapter alone; empty also when it is gone.
    virtual std::optional<Adapter> readAdapter(std::uint64_t luid) = 0;

    // Switches the adapter on or off, under the identity of the calling thread.
    virtual StateChange setAdministrativeState(const Adapter& adapter, AdministrativeState state) = 0;
};

}  // namespace broker
