#include "broker/model/AdapterRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "broker/Fakes.h"

// The tables below follow what is known of such machines. They were not recorded on them.
namespace {

using testing::ElementsAre;

constexpr std::uint32_t ETHERNET = 6;
constexpr std::uint32_t PPP = 23;
constexpr std::uint32_t LOOPBACK = 24;
constexpr std::uint32_t VIRTUAL = 53;
constexpr std::uint32_t WIRELESS_LAN = 71;
constexpr std::uint32_t TUNNEL = 131;
constexpr std::uint32_t MOBILE_BROADBAND = 243;

// The descriptions of the adapters that are ports, in order.
std::vector<std::string> ports(const std::vector<broker::InterfaceTraits>& table)
{
    std::vector<std::string> result;
    for (const broker::InterfaceTraits& row : table) {
        if (broker::isPort(row)) {
            result.push_back(row.description);
        }
    }
    return result;
}

TEST(AdapterRules, DesktopWithWifi_hasItsThreeAdapters)
{
    EXPECT_THAT(
        ports({{LOOPBACK, false, "Software Loopback Interface 1", ""},
               {ETHERNET, false, "Intel(R) Ethernet Connection (2) I219-V", "3C7C3F001122"},
               {ETHERNET, true, "Intel(R) Ethernet Connection (2) I219-V-WFP Native MAC Layer LightWeight Filter-0000",
                "3C7C3F001122"},
               {ETHERNET, true, "Intel(R) Ethernet Connection (2) I219-V-QoS Packet Scheduler-0000", "3C7C3F001122"},
               {WIRELESS_LAN, false, "Intel(R) Wi-Fi 6 AX200 160MHz", "A0A4C5001122"},
               {WIRELESS_LAN, true, "Intel(R) Wi-Fi 6 AX200 160MHz-Native WiFi Filter Driver-0000", "A0A4C5001122"},
               {WIRELESS_LAN, false, "Microsoft Wi-Fi Direct Virtual Adapter", "A0A4C5001123"},
               {WIRELESS_LAN, false, "Microsoft Wi-Fi Direct Virtual Adapter #2", "A2A4C5001122"},
               {WIRELESS_LAN, false, "Microsoft Hosted Network Virtual Adapter", "A2A4C5001123"},
               {ETHERNET, false, "Bluetooth Device (Personal Area Network)", "A0A4C5001126"},
               {ETHERNET, false, "Microsoft Kernel Debug Network Adapter", ""},
               {ETHERNET, false, "WAN Miniport (IP)", "9C8A20524153"},
               {ETHERNET, false, "WAN Miniport (IPv6)", "9EE120524153"},
               {ETHERNET, false, "WAN Miniport (Network Monitor)", "A11920524153"},
               {TUNNEL, false, "WAN Miniport (SSTP)", ""},
               {TUNNEL, false, "WAN Miniport (IKEv2)", ""},
               {TUNNEL, false, "WAN Miniport (L2TP)", ""},
               {TUNNEL, false, "WAN Miniport (PPTP)", ""},
               {PPP, false, "WAN Miniport (PPPOE)", ""},
               {TUNNEL, false, "Teredo Tunneling Pseudo-Interface", ""},
               {TUNNEL, false, "Microsoft IP-HTTPS Platform Adapter", ""},
               {TUNNEL, false, "Microsoft 6to4 Adapter", ""}}),
        ElementsAre("Intel(R) Ethernet Connection (2) I219-V", "Intel(R) Wi-Fi 6 AX200 160MHz",
                    "Bluetooth Device (Personal Area Network)"));
}

TEST(AdapterRules, ServerWithTeamAndSwitch_hasBoth)
{
    EXPECT_THAT(
        ports({{LOOPBACK, false, "Software Loopback Interface 1", ""},
               {ETHERNET, false, "Broadcom NetXtreme Gigabit Ethernet", "B083FE001122"},
               {ETHERNET, false, "Broadcom NetXtreme Gigabit Ethernet #2", "B083FE001123"},
               {ETHERNET, true,
                "Broadcom NetXtreme Gigabit Ethernet-Microsoft Load Balancing/Failover Provider"
                "-0000",
                "B083FE001122"},
               {VIRTUAL, false, "Microsoft Network Adapter Multiplexor Default Miniport", ""},
               {VIRTUAL, false, "Microsoft Network Adapter Multiplexor Driver", "B083FE001122"},
               {VIRTUAL, false, "Microsoft Network Adapter Multiplexor Driver #2 - VLAN 42", "B083FE001122"},
               {VIRTUAL, false, "Hyper-V Virtual Switch Extension Adapter", ""},
               {VIRTUAL, true, "Hyper-V Virtual Switch Extension Adapter-Microsoft Azure VFP-0000", ""},
               {ETHERNET, false, "Hyper-V Virtual Ethernet Adapter", "00155D001122"},
               {ETHERNET, false, "Hyper-V Virtual Ethernet Adapter #2", "00155D001123"},
               {ETHERNET, false, "MAC Bridge Miniport", "02155D001124"},
               {ETHERNET, false, "Microsoft Kernel Debug Network Adapter", ""},
               {TUNNEL, false, "Microsoft ISATAP Adapter", ""}}),
        ElementsAre("Broadcom NetXtreme Gigabit Ethernet", "Broadcom NetXtreme Gigabit Ethernet #2",
                    "Microsoft Network Adapter Multiplexor Driver",
                    "Microsoft Network Adapter Multiplexor Driver #2 - VLAN 42", "Hyper-V Virtual Ethernet Adapter",
                    "Hyper-V Virtual Ethernet Adapter #2", "MAC Bridge Miniport"));
}

TEST(AdapterRules, LaptopWithVpn_hasItsVpnAdapters)
{
    EXPECT_THAT(ports({{WIRELESS_LAN, false, "Qualcomm Atheros QCA9377 Wireless Network Adapter", "5CC5D4001122"},
                       {MOBILE_BROADBAND, false, "Sierra Wireless EM7455 Qualcomm Snapdragon X7 LTE-A", "020080001122"},
                       {ETHERNET, false, "Realtek USB GbE Family Controller", "00E04C001122"},
                       {ETHERNET, false, "TAP-Windows Adapter V9", "00FF12001122"},
                       {VIRTUAL, false, "Wintun Userspace Tunnel", ""},
                       {PPP, false, "Office", ""},
                       {WIRELESS_LAN, false, "Microsoft Wi-Fi Direct Virtual Adapter", "5CC5D4001123"}}),
                ElementsAre("Qualcomm Atheros QCA9377 Wireless Network Adapter",
                            "Sierra Wireless EM7455 Qualcomm Snapdragon X7 LTE-A", "Realtek USB GbE Family Controller",
                            "TAP-Windows Adapter V9", "Wintun Userspace Tunnel", "Office"));
}

// The list of drivers cannot be read.
TEST(AdapterRules, RemoteAccess_isToldByItsAddress)
{
    EXPECT_THAT(ports({{ETHERNET, false, "WAN-Minipoort (IP)", "9C8A20524153"}}), testing::IsEmpty());
}

TEST(AdapterRules, RowThatSaysNothing_isAPort)
{
    EXPECT_TRUE(broker::isPort({}));
}

TEST(AdapterRules, LongAddress_isNotOfRemoteAccess)
{
    EXPECT_TRUE(broker::isPort({199, false, "Mellanox ConnectX", "80000208FE800000000000000002C90320524153"}));
}

TEST(AdapterRules, Link_needsStateAndMedium)
{
    broker::Adapter adapter = fakes::adapter(1);
    EXPECT_TRUE(broker::hasLink(adapter));
    adapter.media = broker::MediaState::UNKNOWN;
    EXPECT_TRUE(broker::hasLink(adapter));
    adapter.media = broker::MediaState::DISCONNECTED;
    EXPECT_FALSE(broker::hasLink(adapter));
    adapter.media = broker::MediaState::CONNECTED;
    adapter.operational = broker::OperationalState::DORMANT;
    EXPECT_FALSE(broker::hasLink(adapter));
}

}  // namespace
