#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "Utils/Exception.h"
#include "broker/windows/FakeTables.h"
#include "broker/windows/PlatformAdapters.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

constexpr std::uint64_t LUID = 0x6008000000000;

// The platform's answers about one adapter, which the test sets.
struct Platform
{
    std::array<wchar_t, 12> suffix{L"example.org"};
    std::array<sockaddr_in6, 4> sockets{};
    std::array<IP_ADAPTER_GATEWAY_ADDRESS, 2> gateways{};
    std::array<IP_ADAPTER_DNS_SERVER_ADDRESS, 2> servers{};
    std::array<MIB_IPINTERFACE_ROW, 3> families{};
    std::array<IP_ADAPTER_INFO, 2> infos{};
    ULONG infoStatus = NO_ERROR;
    fakes::ListSize infoSize;
    int infoCalls = 0;
};

Platform platform;

NETIO_STATUS WINAPI fakeFamilies(ADDRESS_FAMILY /*family*/, PMIB_IPINTERFACE_TABLE* table)
{
    *table = fakes::makeTable<MIB_IPINTERFACE_TABLE>(platform.families);
    return NO_ERROR;
}

ULONG WINAPI fakeInfo(PIP_ADAPTER_INFO buffer, PULONG size)
{
    ++platform.infoCalls;
    if (platform.infoSize.refuses(*size)) {
        return ERROR_BUFFER_OVERFLOW;
    }
    if (platform.infoStatus == ERROR_BUFFER_OVERFLOW) {
        *size += 1024;
    } else if (platform.infoStatus == NO_ERROR) {
        buffer[0] = platform.infos[0];
        buffer[1] = platform.infos[1];
        buffer[0].Next = &buffer[1];
        buffer[1].Next = nullptr;
    }
    return platform.infoStatus;
}

SOCKADDR* address(std::size_t which, const char* text)
{
    platform.sockets.at(which) = fakes::socketOf(text);
    return reinterpret_cast<SOCKADDR*>(&platform.sockets.at(which));
}

class IpConfigurations : public testing::Test
{
protected:
    IpConfigurations()
    {
        platform = {};
        m_adapter->Luid.Value = LUID;
        for (MIB_IPINTERFACE_ROW& row : platform.families) {
            row.InterfaceLuid.Value = LUID;
        }
        platform.families[0].Family = AF_INET;
        platform.families[1].Family = AF_INET6;
        platform.families[2].InterfaceLuid.Value = LUID + 1;
        std::strcpy(platform.infos[0].AdapterName, "{OTHER}");
        std::strcpy(platform.infos[1].AdapterName, m_adapter->AdapterName);
    }

    // Returns the configuration of the one adapter.
    broker::IpConfiguration read() { return m_source.readIpConfigurations().at(0); }

    support::LogCapture m_log{1};
    fakes::OneAdapter m_adapter;
    support::ImportHook m_families{"GetIpInterfaceTable", &fakeFamilies};
    fakes::TablesFreed m_freed;
    support::ImportHook m_info{"GetAdaptersInfo", &fakeInfo};
    broker::PlatformAdapters m_source;
};

TEST_F(IpConfigurations, AdapterWithNothing_hasNothing)
{
    const broker::IpConfiguration read = this->read();
    EXPECT_THAT(read.gateways, IsEmpty());
    EXPECT_THAT(read.dnsServers, IsEmpty());
    EXPECT_EQ(read.dnsSuffix, "");
    EXPECT_FALSE(read.isDhcpOn);
    EXPECT_EQ(read.dhcpServer, "");
    EXPECT_EQ(read.leaseObtained, std::nullopt);
    EXPECT_EQ(platform.infoCalls, 0);
}

TEST_F(IpConfigurations, Values_areThePlatforms)
{
    platform.gateways[0].Address.lpSockaddr = address(0, "10.0.0.1");
    platform.gateways[0].Next = &platform.gateways[1];
    platform.gateways[1].Address.lpSockaddr = address(1, "fe80::1");
    m_adapter->FirstGatewayAddress = platform.gateways.data();
    platform.servers[0].Address.lpSockaddr = address(2, "10.0.0.53");
    m_adapter->FirstDnsServerAddress = platform.servers.data();
    m_adapter->DnsSuffix = platform.suffix.data();
    m_adapter->Dhcpv4Enabled = 1;
    m_adapter->Dhcpv4Server.lpSockaddr = address(3, "10.0.0.67");
    platform.infos[0].LeaseObtained = 1;
    platform.infos[1].LeaseObtained = 1'700'000'000;
    platform.infos[1].LeaseExpires = 1'700'086'400;
    platform.families[0].Metric = 25;
    platform.families[0].NlMtu = 1500;
    platform.families[1].Metric = 35;
    platform.families[1].NlMtu = 1280;
    platform.families[2].Metric = 1;
    const broker::IpConfiguration read = this->read();
    EXPECT_EQ(read.adapterGuid, "{G}");
    EXPECT_THAT(read.gateways, ElementsAre("10.0.0.1", "fe80::1"));
    EXPECT_THAT(read.dnsServers, ElementsAre("10.0.0.53"));
    EXPECT_EQ(read.dnsSuffix, "example.org");
    EXPECT_TRUE(read.isDhcpOn);
    EXPECT_EQ(read.dhcpServer, "10.0.0.67");
    EXPECT_EQ(read.leaseObtained, broker::WallTime{std::chrono::seconds{1'700'000'000}});
    EXPECT_EQ(read.leaseExpires, broker::WallTime{std::chrono::seconds{1'700'086'400}});
    EXPECT_EQ(read.ipv4.metric, 25U);
    EXPECT_EQ(read.ipv4.mtu, 1500U);
    EXPECT_EQ(read.ipv6.metric, 35U);
    EXPECT_EQ(read.ipv6.mtu, 1280U);
    EXPECT_EQ(m_freed.count(), 1);
}

TEST_F(IpConfigurations, PlatformWithoutFamilies_leavesThemOpen)
{
    const support::ImportHook refused("GetIpInterfaceTable",
                                      support::returning<ERROR_NOT_SUPPORTED>(&GetIpInterfaceTable));
    const broker::IpConfiguration read = this->read();
    EXPECT_EQ(read.ipv4.metric, std::nullopt);
    EXPECT_EQ(read.ipv6.mtu, std::nullopt);
    EXPECT_THAT(m_log.events(), IsEmpty());
}

TEST_F(IpConfigurations, DhcpWithoutLease_hasNoTimes)
{
    m_adapter->Dhcpv4Enabled = 1;
    EXPECT_EQ(read().leaseObtained, std::nullopt);
    platform.infoStatus = ERROR_NO_DATA;
    EXPECT_EQ(read().leaseExpires, std::nullopt);
    EXPECT_THAT(m_log.events(), IsEmpty());
}

TEST_F(IpConfigurations, LeasesThatGrowMeanwhile_areRead)
{
    m_adapter->Dhcpv4Enabled = 1;
    platform.infos[1].LeaseObtained = 1;
    platform.infoSize = {64 * 1024, 1024};
    EXPECT_EQ(read().leaseObtained, broker::WallTime{std::chrono::seconds{1}});
}

TEST_F(IpConfigurations, LeasesThatNeverFit_areGivenUp)
{
    m_adapter->Dhcpv4Enabled = 1;
    platform.infoStatus = ERROR_BUFFER_OVERFLOW;
    EXPECT_THROW(m_source.readIpConfigurations(), utils::EFailed);
    EXPECT_EQ(platform.infoCalls, 8);
    EXPECT_THAT(m_log.events(), ElementsAre(EndsWith("error: GetAdaptersInfo error 111\n")));
}

}  // namespace
