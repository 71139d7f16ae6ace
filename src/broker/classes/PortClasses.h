#pragma once

#include <cstdint>
#include <string>

#include "broker/model/InstanceStore.h"
#include "broker/platform/AdapterSource.h"

namespace broker {

// The class of the computer system that ports and endpoints name in their keys; the platform serves it. Made by the
// first caller, so that the library loads without allocating.
const std::string& computerSystemClass();

inline constexpr char ETHERNET_PORT[] = "Zerix_EthernetPort";
inline constexpr char ETHERNET_PORT_STATISTICS[] = "Zerix_EthernetPortStatistics";

// Rows refer to what was read for the request; they live no longer.
struct PortRow
{
    const Adapter& adapter;
    const std::string& systemName;
};

struct StatisticsRow
{
    const Adapter& adapter;
    // When the counters were read, in microseconds since 1970-01-01 00:00:00 UTC.
    std::uint64_t time;
};

// Identified by the adapter's GUID, both of them.
extern const ClassDescription<PortRow> ethernetPortClass;
extern const ClassDescription<StatisticsRow> ethernetPortStatisticsClass;

}  // namespace broker
