#pragma once

#include <vector>

#include "wmihost/com/Com.h"
#include "wmihost/metrics/PrometheusText.h"
#include "wmihost/repository/ClassDefinition.h"

namespace wmihost {

// The instances of one class, as the provider delivered them.
struct ClassRows
{
    ClassPointer definition;
    std::vector<ComPtr<IWbemClassObject>> objects;
};

// What one reading of the machine delivered.
struct MachineRows
{
    ClassRows ports;
    ClassRows statistics;
    ClassRows endpoints;
    ClassRows jobs;
};

// The metrics of a machine. The GUID of its adapter identifies every series of a port; zerix_port_info has the texts
// that people know a port by. Every property that the MOF qualifies as a counter becomes a counter. HELP is the
// description in the MOF. A value that the provider does not know has no sample.
std::vector<MetricFamily> machineMetrics(const MachineRows& rows);

// The name of the metric of a counter: "BytesReceived" in "Bytes" is "zerix_port_received_bytes_total".
std::string counterName(const Property& property);

}  // namespace wmihost
