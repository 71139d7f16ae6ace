#include "wmihost/metrics/MachineMetrics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "tests/wmihost/TestObjects.h"

namespace wmihost {
namespace {

const char* const MOF = R"([Description("A port.")] class Port
{
    [key] string DeviceID;
    string Name;
    string PermanentAddress;
    string Description;
    [Description("Whether it is on.")] uint16 EnabledState;
    [Description("Its speed."), Units("Bits per Second")] uint64 Speed;
    [Description("Its other speed."), Units("Bits per Second")] uint64 ReceiveLinkSpeed;
    [Description("Its MTU."), Units("Bytes")] uint64 ActiveMaximumTransmissionUnit;
};
class Statistics
{
    [key] string InstanceID;
    [Counter, Units("Bytes"), Description("Bytes in.")] uint64 BytesReceived;
    [Counter, Units("Packets"), Description("Bad ones.")] uint64 TotalRxErrors;
    datetime StatisticTime;
    uint32 Level;
};
[Description("An address.")] class Endpoint
{
    [key] string Name;
    string IPv4Address;
    string IPv6Address;
    uint16 AddressOrigin;
};
class Job
{
    [key] string InstanceID;
    [Description("Its state.")] uint16 JobState;
};
)";

using Values = std::vector<std::pair<const wchar_t*, Variant>>;

Variant words(const wchar_t* text)
{
    return Variant::ofText(text);
}

class MachineMetricsTest : public testing::Test
{
protected:
    MachineMetricsTest()
    {
        rows = {{classIn(repository, L"Port"), {}},
                {classIn(repository, L"Statistics"), {}},
                {classIn(repository, L"Endpoint"), {}},
                {classIn(repository, L"Job"), {}}};
    }

    static void add(ClassRows& target, const Values& values)
    {
        const auto row = ClassObject::ofInstance(InstanceData(target.definition));
        for (const auto& [name, value] : values) {
            ASSERT_EQ(put(row, name, value), 0);
        }
        target.objects.push_back(row);
    }

    void addPort(const wchar_t* guid, long state)
    {
        add(rows.ports, {{L"DeviceID", words(guid)}, {L"EnabledState", Variant::ofLong(state)}});
    }

    // The lines of the metrics with that name, HELP and TYPE included.
    std::string linesOf(const std::string& name) const
    {
        auto families = machineMetrics(rows);
        std::erase_if(families, [&name](const MetricFamily& family) { return family.name != name; });
        return prometheusText(families);
    }

    const ClassRepository repository = compiled(MOF);
    MachineRows rows;
};

TEST_F(MachineMetricsTest, Port_isKnownByItsTexts)
{
    add(rows.ports, {{L"DeviceID", words(L"{A}")},
                     {L"Name", words(L"Ethernet \"2\"")},
                     {L"PermanentAddress", words(L"02FC00000001")},
                     {L"Description", words(L"Vexal 2 \x00D7 10 GbE\\1")}});
    EXPECT_EQ(linesOf("zerix_port_info"),
              "# HELP zerix_port_info A port.\n"
              "# TYPE zerix_port_info gauge\n"
              "zerix_port_info{guid=\"{A}\",name=\"Ethernet \\\"2\\\"\",mac=\"02FC00000001\",description=\"Vexal 2 "
              "\xC3\x97 10 GbE\\\\1\"} 1\n");
}

TEST_F(MachineMetricsTest, TextThatIsUnknown_isAnEmptyLabel)
{
    add(rows.ports, {{L"DeviceID", words(L"{A}")}});
    EXPECT_EQ(linesOf("zerix_port_info"),
              "# HELP zerix_port_info A port.\n"
              "# TYPE zerix_port_info gauge\n"
              "zerix_port_info{guid=\"{A}\",name=\"\",mac=\"\",description=\"\"} 1\n");
}

TEST_F(MachineMetricsTest, EachState_saysUpAndCarrier)
{
    addPort(L"{unknown}", 0);
    addPort(L"{enabled}", 2);
    addPort(L"{disabled}", 3);
    addPort(L"{offline}", 6);
    addPort(L"{test}", 7);
    add(rows.ports, {{L"DeviceID", words(L"{null}")}});
    EXPECT_EQ(linesOf("zerix_port_up"),
              "# HELP zerix_port_up Whether it is on. 1: Enabled; 0: any other state.\n"
              "# TYPE zerix_port_up gauge\n"
              "zerix_port_up{guid=\"{unknown}\"} 0\n"
              "zerix_port_up{guid=\"{enabled}\"} 1\n"
              "zerix_port_up{guid=\"{disabled}\"} 0\n"
              "zerix_port_up{guid=\"{offline}\"} 0\n"
              "zerix_port_up{guid=\"{test}\"} 0\n");
    EXPECT_EQ(
        linesOf("zerix_port_carrier"),
        "# HELP zerix_port_carrier Whether it is on. 1: Enabled; 0: Enabled but Offline; absent in any other state.\n"
        "# TYPE zerix_port_carrier gauge\n"
        "zerix_port_carrier{guid=\"{enabled}\"} 1\n"
        "zerix_port_carrier{guid=\"{offline}\"} 0\n");
}

TEST_F(MachineMetricsTest, SpeedAndMtu_areInBytes)
{
    add(rows.ports, {{L"DeviceID", words(L"{A}")},
                     {L"Speed", words(L"2500000000")},
                     {L"ReceiveLinkSpeed", words(L"1000000001")},
                     {L"ActiveMaximumTransmissionUnit", words(L"1500")}});
    add(rows.ports, {{L"DeviceID", words(L"{B}")}});
    EXPECT_EQ(linesOf("zerix_port_speed_bytes_per_second"),
              "# HELP zerix_port_speed_bytes_per_second Its speed. In bytes a second; absent while it is unknown.\n"
              "# TYPE zerix_port_speed_bytes_per_second gauge\n"
              "zerix_port_speed_bytes_per_second{guid=\"{A}\"} 312500000\n");
    EXPECT_EQ(linesOf("zerix_port_receive_speed_bytes_per_second"),
              "# HELP zerix_port_receive_speed_bytes_per_second Its other speed. In bytes a second; absent while it is "
              "unknown.\n"
              "# TYPE zerix_port_receive_speed_bytes_per_second gauge\n"
              "zerix_port_receive_speed_bytes_per_second{guid=\"{A}\"} 125000000.125\n");
    EXPECT_EQ(linesOf("zerix_port_mtu_bytes"),
              "# HELP zerix_port_mtu_bytes Its MTU.\n"
              "# TYPE zerix_port_mtu_bytes gauge\n"
              "zerix_port_mtu_bytes{guid=\"{A}\"} 1500\n");
}

TEST_F(MachineMetricsTest, Counters_belongToTheAdapterInTheirKey)
{
    add(rows.statistics, {{L"InstanceID", words(L"Vexal:PortStatistics:{A}")},
                          {L"BytesReceived", words(L"9007199254740992")},
                          {L"TotalRxErrors", words(L"3")}});
    add(rows.statistics, {{L"InstanceID", words(L"Vexal:PortStatistics:{B}")}, {L"BytesReceived", words(L"0")}});
    add(rows.statistics, {{L"InstanceID", words(L"of no adapter")}, {L"BytesReceived", words(L"1")}});
    EXPECT_EQ(linesOf("zerix_port_received_bytes_total"),
              "# HELP zerix_port_received_bytes_total Bytes in.\n"
              "# TYPE zerix_port_received_bytes_total counter\n"
              "zerix_port_received_bytes_total{guid=\"{A}\"} 9007199254740992\n"
              "zerix_port_received_bytes_total{guid=\"{B}\"} 0\n");
    EXPECT_EQ(linesOf("zerix_port_rx_errors_total"),
              "# HELP zerix_port_rx_errors_total Bad ones.\n"
              "# TYPE zerix_port_rx_errors_total counter\n"
              "zerix_port_rx_errors_total{guid=\"{A}\"} 3\n");
}

TEST_F(MachineMetricsTest, Addresses_areCountedAndNamed)
{
    addPort(L"{A}", 2);
    addPort(L"{B}", 2);
    add(rows.endpoints, {{L"Name", words(L"{A}:192.0.2.1")},
                         {L"IPv4Address", words(L"192.0.2.1")},
                         {L"AddressOrigin", Variant::ofLong(4)}});
    add(rows.endpoints, {{L"Name", words(L"{A}:fe80::1")},
                         {L"IPv6Address", words(L"fe80::1")},
                         {L"AddressOrigin", Variant::ofLong(10)}});
    // Privacy extensions replace such addresses every day.
    for (const long origin : {8, 9}) {
        add(rows.endpoints, {{L"Name", words(L"{A}:2001:db8::1")},
                             {L"IPv6Address", words(L"2001:db8::1")},
                             {L"AddressOrigin", Variant::ofLong(origin)}});
    }
    EXPECT_EQ(linesOf("zerix_port_ip_addresses"),
              "# HELP zerix_port_ip_addresses An address. How many a port has.\n"
              "# TYPE zerix_port_ip_addresses gauge\n"
              "zerix_port_ip_addresses{guid=\"{A}\",family=\"ipv4\"} 1\n"
              "zerix_port_ip_addresses{guid=\"{A}\",family=\"ipv6\"} 3\n"
              "zerix_port_ip_addresses{guid=\"{B}\",family=\"ipv4\"} 0\n"
              "zerix_port_ip_addresses{guid=\"{B}\",family=\"ipv6\"} 0\n");
    EXPECT_EQ(linesOf("zerix_port_ip_address_info"),
              "# HELP zerix_port_ip_address_info An address. Without those that the machine makes up itself (IPv6).\n"
              "# TYPE zerix_port_ip_address_info gauge\n"
              "zerix_port_ip_address_info{guid=\"{A}\",family=\"ipv4\",address=\"192.0.2.1\"} 1\n"
              "zerix_port_ip_address_info{guid=\"{A}\",family=\"ipv6\",address=\"fe80::1\"} 1\n");
}

TEST_F(MachineMetricsTest, Jobs_areCountedByTheirState)
{
    for (const long state : {2, 3, 4, 4, 7, 8, 9, 10, 10}) {
        add(rows.jobs, {{L"InstanceID", words(L"job")}, {L"JobState", Variant::ofLong(state)}});
    }
    EXPECT_EQ(linesOf("zerix_jobs_running"),
              "# HELP zerix_jobs_running Its state. Jobs that have not ended.\n"
              "# TYPE zerix_jobs_running gauge\n"
              "zerix_jobs_running 4\n");
    EXPECT_EQ(linesOf("zerix_jobs_failed"),
              "# HELP zerix_jobs_failed Its state. Jobs that ended with an exception and are still kept.\n"
              "# TYPE zerix_jobs_failed gauge\n"
              "zerix_jobs_failed 2\n");
}

TEST(CounterName, Unit_standsBeforeTotal)
{
    const auto named = [](const wchar_t* name, const wchar_t* units) {
        Property property;
        property.name = name;
        property.qualifiers = {{L"Units", CIM_STRING, Variant::ofText(units)}};
        return counterName(property);
    };
    EXPECT_EQ(named(L"BytesTotal", L"Bytes"), "zerix_port_bytes_total");
    EXPECT_EQ(named(L"BytesReceived", L"Bytes"), "zerix_port_received_bytes_total");
    EXPECT_EQ(named(L"OctetsReceived", L"Bytes"), "zerix_port_octets_received_bytes_total");
    EXPECT_EQ(named(L"UnicastPacketsReceived", L"Packets"), "zerix_port_unicast_received_packets_total");
    EXPECT_EQ(named(L"RxDiscards", L"Packets"), "zerix_port_rx_discards_total");
    EXPECT_EQ(named(L"IPPacketsReceived", L"Packets"), "zerix_port_ip_received_packets_total");
    EXPECT_EQ(named(L"Resets", L""), "zerix_port_resets_total");
}

// Dashboards and alerts rely on these names, which end with base units.
TEST(CounterName, CountersOfTheMof_haveNamesOfTheirOwn)
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
