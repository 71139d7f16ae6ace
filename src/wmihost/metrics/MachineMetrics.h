#pragma once

#include <vector>

#include "wmihost/com/Com.h"
#include "wmihost/metrics/PrometheusText.h"
#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The instances of one class that the provider delivered.
struct ClassRows
{
    ClassPointer definition;
    std::vector<ComPtr<IWbemClassObject>> objects;
};

// The result of one reading of the machine.
struct MachineRows
{
    ClassRows ports;
    ClassRows statistics;
    ClassRows endpoints;
    ClassRows jobs;
};

// The metrics of a machine. The adapter's GUID identifies the series of a port; zerix_port_info has the names that
// people use for it. Every property with the MOF's qualifier for counters becomes a counter. HELP is the description in
// the MOF. A null value has no sample.
std::vector<MetricFamily> machineMetrics(const MachineRows& rows);

// The metric's name for a counter: "BytesReceived" in "Bytes" gives "zerix_port_received_bytes_total".
std::string counterName(const Property& property);

}  // namespace wmihost
