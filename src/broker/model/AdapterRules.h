#pragma once

#include <cstdint>
#include <string>

#include "broker/platform/AdapterSource.h"

// How to read the rows of the platform's tables. Pure functions; any thread.
namespace broker {

// The traits of an interface that both tables of the platform hold: that of the interfaces and that of the addresses.
struct InterfaceTraits
{
    // The IANA number of the interface type.
    std::uint32_t type = 0;
    // Whether the platform has stacked it as a layer on another interface. Only the table of the interfaces holds this.
    bool isFilter = false;
    std::string description;
    // As Adapter::hardwareAddress.
    std::string hardwareAddress;
};

// Whether a person would call the interface a network adapter, unless its driver was installed as hidden.
bool isPort(const InterfaceTraits& traits);

// Whether the adapter can exchange frames now: it is up, and its medium is not known to be disconnected.
bool hasLink(const Adapter& adapter) noexcept;

}  // namespace broker
