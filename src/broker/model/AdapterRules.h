#pragma once

#include <cstdint>
#include <string>

#include "broker/platform/AdapterSource.h"

// What the rows of the platform's tables mean. Pure functions; any thread.
namespace broker {

// What both tables of the platform, that of the interfaces and that of the addresses, say about an interface.
struct InterfaceTraits
{
    // The IANA number of the interface type.
    std::uint32_t type = 0;
    // A layer that the platform has stacked on another interface. Only the table of the interfaces says so.
    bool isFilter = false;
    std::string description;
    // As Adapter::hardwareAddress.
    std::string hardwareAddress;
    // Whether the platform shows it in no user interface, as its driver asked for.
    bool isHidden = false;
};

// Whether a person would call the interface a network adapter.
bool isPort(const InterfaceTraits& traits);

// Whether the adapter can exchange frames now: it is up, and its medium is not known to be disconnected.
bool hasLink(const Adapter& adapter) noexcept;

}  // namespace broker
