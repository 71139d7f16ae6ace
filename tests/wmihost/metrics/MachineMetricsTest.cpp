#include "wmihost/metrics/MachineMetrics.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "tests/wmihost/ExpectedFile.h"
#include "wmihost/mof/MofCompiler.h"
#include "wmihost/objects/ClassObject.h"
#include "wmihost/repository/ClassRepository.h"

namespace wmihost {
namespace {

TEST(MachineMetrics, Machine_isShownInItsMetrics)
{
    const std::filesystem::path folder = ZERIX_WMIHOST_TESTS "/metrics";
    ClassRepository repository;
    compileMofFile(folder / "machine.mof", repository);
    const auto rowsOf = [&repository](const wchar_t* name) {
        const Namespace& machine = *repository.findNamespace(L"root\\test");
        ClassRows rows{machine.findClass(name), {}};
        for (const InstanceData* instance : machine.instancesOf(name)) {
            rows.objects.push_back(ClassObject::ofInstance(*instance));
        }
        return rows;
    };
    expectFile(
        folder / "machine.prom",
        prometheusText(machineMetrics({rowsOf(L"Port"), rowsOf(L"Statistics"), rowsOf(L"Endpoint"), rowsOf(L"Job")})));
}

// Dashboards and alerts rely on these names, which end with base units.
TEST(MachineMetrics, CountersOfTheMof_haveNamesOfTheirOwn)
{
    ClassRepository repository;
    compileMofFile(std::filesystem::path(ZERIX_INSTALL_FOLDER) / "ZerixDRAVEv2.mof", repository);
    const ClassPointer statistics =
        repository.findNamespace(L"root\\DCIM\\vexal")->findClass(L"Zerix_EthernetPortStatistics");
    std::set<std::string> names;
    for (const Property& property : statistics->properties) {
        if (hasQualifier(property.qualifiers, L"Counter")) {
            const std::wstring units = qualifierText(property.qualifiers, L"Units");
            EXPECT_TRUE(units == L"Bytes" || units == L"Packets") << counterName(property);
            EXPECT_TRUE(names.insert(counterName(property)).second) << counterName(property);
        }
    }
    for (const char* name :
         {"zerix_port_received_bytes_total", "zerix_port_transmitted_bytes_total", "zerix_port_received_packets_total",
          "zerix_port_transmitted_packets_total", "zerix_port_rx_errors_total", "zerix_port_tx_errors_total",
          "zerix_port_rx_discards_total", "zerix_port_tx_discards_total"})
    {
        EXPECT_EQ(names.count(name), 1U) << name;
    }
}

}  // namespace
}  // namespace wmihost
