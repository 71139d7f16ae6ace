#include "broker/model/AdapterRules.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace broker {

namespace {

// The IANA numbers of the interface types that are never ports.
constexpr std::uint32_t TYPE_SOFTWARE_LOOPBACK = 24;
constexpr std::uint32_t TYPE_TUNNEL = 131;

// The last four bytes of the hardware address that every WAN Miniport of type Ethernet carries: a blank and "RAS".
constexpr std::string_view REMOTE_ACCESS_MARK = "20524153";
constexpr std::size_t ETHERNET_DIGITS = 12;

// Parts of the English names of the platform's own helper interfaces, whose rows have the flags and types of real
// adapters, or none. The names decide only where the client may not read which drivers are hidden, or a driver is not.
constexpr std::array<std::string_view, 6> HELPERS{
    // The ends of dialled and tunnelled connections. They exist whether or not anybody dials.
    "WAN Miniport",
    // It serves a debugger instead of the network stack.
    "Kernel Debug Network Adapter",
    // Made by the Wi-Fi adapter's driver for peers and for sharing the connection.
    "Wi-Fi Direct Virtual Adapter",
    "Hosted Network Virtual Adapter",
    // The inner sides of a virtual switch and of a team; their ports have rows of their own.
    "Virtual Switch Extension",
    "Multiplexor Default Miniport",
};

bool isHelper(const std::string& description)
{
    return std::any_of(HELPERS.begin(), HELPERS.end(),
                       [&description](std::string_view name) { return description.find(name) != std::string::npos; });
}

bool isRemoteAccess(const std::string& hardwareAddress)
{
    return hardwareAddress.size() == ETHERNET_DIGITS && hardwareAddress.ends_with(REMOTE_ACCESS_MARK);
}

}  // namespace

// An interface is a port unless something below excludes it. The flags for hardware and connectors cannot be required:
// teams, ports of virtual switches, TAP adapters, bridges and VLANs have neither, and people look for those first.
bool isPort(const InterfaceTraits& traits)
{
    switch (traits.type) {
        case TYPE_SOFTWARE_LOOPBACK:
        // Teredo, 6to4, ISATAP, IP-HTTPS, and the WAN Miniports for tunnels: protocols over another adapter.
        case TYPE_TUNNEL:
            return false;
        default:
            break;
    }
    // The mark does not depend on the language of the platform, which translates "WAN Miniport".
    return !traits.isFilter && !isRemoteAccess(traits.hardwareAddress) && !isHelper(traits.description);
}

// The platform may leave an interface up when its cable is pulled, and the state of a virtual medium may be unknown.
bool hasLink(const Adapter& adapter) noexcept
{
    return adapter.operational == OperationalState::UP && adapter.media != MediaState::DISCONNECTED;
}

}  // namespace broker
