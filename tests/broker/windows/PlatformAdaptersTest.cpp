#include "broker/windows/PlatformAdapters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cwchar>
#include <deque>
#include <numeric>

#include "Utils/Exception.h"
#include "broker/windows/FakeTables.h"
#include "support/CountedRefusal.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

class FakeAddresses : public testing::Test
{
protected:
    // Adds an address in use, given as text. The caller may change its fields.
    IP_ADAPTER_UNICAST_ADDRESS& add(const char* text)
    {
        m_sockets.push_back(fakes::socketOf(text));
        IP_ADAPTER_UNICAST_ADDRESS& address = m_addresses.emplace_back();
        address.Address.lpSockaddr = reinterpret_cast<SOCKADDR*>(&m_sockets.back());
        address.OnLinkPrefixLength = 24;
        address.DadState = IpDadStatePreferred;
        address.PrefixOrigin = IpPrefixOriginManual;
        *m_end = &address;
        m_end = &address.Next;
        return address;
    }

    // Returns a member of each address that is read.
    template <class Member>
    std::vector<Member> read(Member broker::Address::*member)
    {
        std::vector<Member> result;
        for (const broker::Address& address : m_source.readAddresses()) {
            result.push_back(address.*member);
        }
        return result;
    }

    fakes::OneAdapter m_adapter;
    broker::PlatformAdapters m_source;

private:
    std::deque<sockaddr_in6> m_sockets;
    std::deque<IP_ADAPTER_UNICAST_ADDRESS> m_addresses;
    IP_ADAPTER_UNICAST_ADDRESS** m_end = &m_adapter->FirstUnicastAddress;
};

std::array<MIB_IF_ROW2, 4> fakeRows{};

NETIO_STATUS WINAPI fakeIfTable(PMIB_IF_TABLE2* table)
{
    *table = fakes::makeTable<MIB_IF_TABLE2>(fakeRows);
    return NO_ERROR;
}

TEST(PlatformAdapters, Adapter_isReadByItsLuid)
{
    broker::PlatformAdapters source;
    const auto adapters = source.readAdapters();
    EXPECT_FALSE(adapters.empty()) << "this machine has no adapter";
    for (const broker::Adapter& listed : adapters) {
        const auto read = source.readAdapter(listed.luid);
        ASSERT_TRUE(read.has_value());
        EXPECT_EQ(read->guid, listed.guid);
        EXPECT_EQ(read->name, listed.name);
        EXPECT_EQ(read->operational, listed.operational);
        EXPECT_GE(read->counters.bytesReceived, listed.counters.bytesReceived);
    }
}

TEST(PlatformAdapters, GoneAdapter_isEmptyAndLogged)
{
    const support::LogCapture log(1);
    broker::PlatformAdapters source;
    EXPECT_FALSE(source.readAdapter(0x6FFFFFF000000ULL).has_value());
    EXPECT_THAT(log.events(), ElementsAre(testing::HasSubstr("broker::PlatformAdapters::readAdapter: error: "
                                                             "GetIfEntry2 error ")));
}

// A refusal of a table is seen by the whole requests of RefusedTableTest.cpp.
template <ULONG STATUS>
void expectNothingRead()
{
    const support::LogCapture log(1);
    const support::CountedRefusal<decltype(&GetIfTable2), STATUS> adapters("GetIfTable2");
    const support::CountedRefusal<decltype(&GetAdaptersAddresses), STATUS> addresses("GetAdaptersAddresses");
    broker::PlatformAdapters source;
    EXPECT_THAT(source.readAdapters(), IsEmpty());
    EXPECT_THAT(source.readAddresses(), IsEmpty());
    EXPECT_THAT(source.readIpConfigurations(), IsEmpty());
    EXPECT_EQ(adapters.calls(), 1) << "an answer is not asked for twice";
    EXPECT_EQ(addresses.calls(), 2) << "once for each list";
    EXPECT_THAT(log.events(), IsEmpty());
}

TEST(PlatformAdapters, EmptyTables_areNoFailure)
{
    expectNothingRead<ERROR_NO_DATA>();
    expectNothingRead<ERROR_ADDRESS_NOT_ASSOCIATED>();
}

TEST_F(FakeAddresses, Origins_areThePlatforms)
{
    using broker::AddressOrigin;
    for (const auto origin : {IpPrefixOriginManual, IpPrefixOriginWellKnown, IpPrefixOriginDhcp, IpPrefixOriginOther,
                              IpPrefixOriginRouterAdvertisement, IpPrefixOriginUnchanged})
    {
        add("10.0.0.1").PrefixOrigin = origin;
    }
    EXPECT_THAT(read(&broker::Address::origin),
                ElementsAre(AddressOrigin::MANUAL, AddressOrigin::WELL_KNOWN, AddressOrigin::DHCP, AddressOrigin::OTHER,
                            AddressOrigin::ROUTER_ADVERTISEMENT, AddressOrigin::UNKNOWN));
    EXPECT_THAT(read(&broker::Address::adapterGuid), testing::Each("{G}"));
}

TEST_F(FakeAddresses, OtherFamilies_areLeftOut)
{
    add("not of the internet");
    add("10.0.0.2");
    add("fd00::2");
    EXPECT_THAT(read(&broker::Address::text), ElementsAre("10.0.0.2", "fd00::2"));
    EXPECT_THAT(read(&broker::Address::family), ElementsAre(broker::AddressFamily::IPV4, broker::AddressFamily::IPV6));
}

TEST_F(FakeAddresses, AddressesNotInUse_areLeftOut)
{
    add("10.0.0.1").DadState = IpDadStateInvalid;
    add("10.0.0.2").DadState = IpDadStateTentative;
    add("10.0.0.3").DadState = IpDadStateDuplicate;
    add("10.0.0.4").DadState = IpDadStateDeprecated;
    add("10.0.0.5").DadState = IpDadStatePreferred;
    EXPECT_THAT(read(&broker::Address::text), ElementsAre("10.0.0.4", "10.0.0.5"));
}

TEST_F(FakeAddresses, IllegalPrefix_isUnknown)
{
    add("10.0.0.1").OnLinkPrefixLength = 255;
    add("10.0.0.2").OnLinkPrefixLength = 33;
    add("10.0.0.3").OnLinkPrefixLength = 32;
    add("fd00::1").OnLinkPrefixLength = 255;
    add("fd00::2").OnLinkPrefixLength = 128;
    EXPECT_THAT(read(&broker::Address::prefixLength), ElementsAre(std::nullopt, std::nullopt, 32, std::nullopt, 128));
}

TEST_F(FakeAddresses, LinkLocalRanges_areRecognised)
{
    for (const char* text : {"169.254.0.1", "169.253.0.1", "fe80::1", "febf::1", "fec0::1"}) {
        add(text);
    }
    EXPECT_THAT(read(&broker::Address::isLinkLocal), ElementsAre(true, false, true, true, false));
}

TEST_F(FakeAddresses, Dhcp_isThatOfTheFamily)
{
    add("10.0.0.1");
    add("fd00::1");
    m_adapter->Dhcpv4Enabled = 1;
    EXPECT_THAT(read(&broker::Address::isDhcpOn), ElementsAre(true, false));
    m_adapter->Flags = 0;
    m_adapter->Ipv6ManagedAddressConfigurationSupported = 1;
    EXPECT_THAT(read(&broker::Address::isDhcpOn), ElementsAre(false, true));
}

TEST_F(FakeAddresses, OfWhatIsNoPort_areLeftOut)
{
    add("fe80::5efe:10.0.0.1");
    m_adapter->IfType = IF_TYPE_TUNNEL;
    EXPECT_THAT(m_source.readAddresses(), IsEmpty());
    EXPECT_THAT(m_source.readIpConfigurations(), IsEmpty());
    m_adapter->IfType = IF_TYPE_ETHERNET_CSMACD;
    constexpr std::array<BYTE, 6> REMOTE_ACCESS{0x9C, 0x8A, 0x20, 0x52, 0x41, 0x53};
    std::copy(REMOTE_ACCESS.begin(), REMOTE_ACCESS.end(), m_adapter->PhysicalAddress);
    m_adapter->PhysicalAddressLength = 6;
    EXPECT_THAT(m_source.readAddresses(), IsEmpty());
    EXPECT_THAT(m_source.readIpConfigurations(), IsEmpty());
}

TEST_F(FakeAddresses, ListThatGrowsMeanwhile_isRead)
{
    add("10.0.0.1");
    m_adapter.setSize({64 * 1024, 1024});
    EXPECT_THAT(read(&broker::Address::text), ElementsAre("10.0.0.1"));
}

TEST(PlatformAdapters, ListThatNeverFits_isGivenUp)
{
    const support::LogCapture log(1);
    const support::CountedRefusal<decltype(&GetAdaptersAddresses), ERROR_BUFFER_OVERFLOW> refused(
        "GetAdaptersAddresses");
    EXPECT_THROW(broker::PlatformAdapters().readAddresses(), utils::EFailed);
    EXPECT_EQ(refused.calls(), 8);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("GetAdaptersAddresses error 111\n")));
}

TEST(PlatformAdapters, Adapters_areTheTablesPorts)
{
    // In the order of broker::Counters.
    constexpr std::array COUNTERS{
        &MIB_IF_ROW2::InOctets,          &MIB_IF_ROW2::OutOctets,         &MIB_IF_ROW2::InUcastPkts,
        &MIB_IF_ROW2::OutUcastPkts,      &MIB_IF_ROW2::InNUcastPkts,      &MIB_IF_ROW2::OutNUcastPkts,
        &MIB_IF_ROW2::InErrors,          &MIB_IF_ROW2::OutErrors,         &MIB_IF_ROW2::InDiscards,
        &MIB_IF_ROW2::OutDiscards,       &MIB_IF_ROW2::InUnknownProtos,   &MIB_IF_ROW2::InUcastOctets,
        &MIB_IF_ROW2::OutUcastOctets,    &MIB_IF_ROW2::InMulticastOctets, &MIB_IF_ROW2::OutMulticastOctets,
        &MIB_IF_ROW2::InBroadcastOctets, &MIB_IF_ROW2::OutBroadcastOctets};
    std::array<std::uint64_t, COUNTERS.size()> counted{};
    std::iota(counted.begin(), counted.end(), 1);
    const support::ImportHook hook("GetIfTable2", &fakeIfTable);
    const fakes::TablesFreed freed;
    fakeRows[0].Type = IF_TYPE_SOFTWARE_LOOPBACK;
    fakeRows[1].Type = IF_TYPE_ETHERNET_CSMACD;
    fakeRows[1].InterfaceAndOperStatusFlags.FilterInterface = TRUE;
    MIB_IF_ROW2& row = fakeRows[2];
    row.Type = IF_TYPE_ETHERNET_CSMACD;
    row.InterfaceLuid.Value = 0x6008000000000;
    row.InterfaceIndex = 17;
    std::wcscpy(row.Alias, L"uplink");
    std::wcscpy(row.Description, L"Caf\u00e9");
    row.Mtu = 1500;
    row.InterfaceGuid = {0x1234ABCD, 0x12, 0xAB, {1, 2, 3, 4, 5, 6, 7, 0xF0}};
    row.TransmitLinkSpeed = ~ULONG64{0};
    row.ReceiveLinkSpeed = 100;
    row.PhysicalAddressLength = 6;
    row.PhysicalAddress[0] = 0xAB;
    row.PermanentPhysicalAddress[5] = 0x0C;
    row.PhysicalMediumType = NdisPhysicalMedium802_3;
    row.InterfaceAndOperStatusFlags.HardwareInterface = TRUE;
    row.MediaConnectState = MediaConnectStateDisconnected;
    row.AdminStatus = NET_IF_ADMIN_STATUS_DOWN;
    row.OperStatus = IfOperStatusDormant;
    for (std::size_t i = 0; i < COUNTERS.size(); ++i) {
        row.*COUNTERS[i] = counted[i];
    }
    fakeRows[3].Type = IF_TYPE_IEEE80211;
    fakeRows[3].PhysicalAddressLength = 6;
    fakeRows[3].InterfaceAndOperStatusFlags.ConnectorPresent = TRUE;
    const auto adapters = broker::PlatformAdapters().readAdapters();
    ASSERT_EQ(adapters.size(), 2U);
    EXPECT_EQ(adapters[1].type, 71U);
    EXPECT_EQ(adapters[1].permanentAddress, "") << "zeros are unknown";
    EXPECT_TRUE(adapters[1].hasConnector);
    const broker::Adapter& adapter = adapters[0];
    EXPECT_EQ(adapter.luid, 0x6008000000000U);
    EXPECT_EQ(adapter.index, 17U);
    EXPECT_EQ(adapter.name, "uplink");
    EXPECT_EQ(adapter.description, "Caf\xe9");
    EXPECT_EQ(adapter.mtu, 1500U);
    EXPECT_EQ(adapter.guid, "{1234ABCD-0012-00AB-0102-0304050607F0}");
    EXPECT_EQ(adapter.hardwareAddress, "AB0000000000");
    EXPECT_EQ(adapter.permanentAddress, "00000000000C");
    EXPECT_EQ(adapter.transmitSpeed, std::nullopt);
    EXPECT_EQ(adapter.receiveSpeed, 100U);
    EXPECT_EQ(adapter.administrative, broker::AdministrativeState::DOWN);
    EXPECT_EQ(adapter.operational, broker::OperationalState::DORMANT);
    EXPECT_EQ(adapter.media, broker::MediaState::DISCONNECTED);
    EXPECT_EQ(adapter.physicalMedium, 14U);
    EXPECT_TRUE(adapter.isHardware);
    EXPECT_FALSE(adapter.hasConnector);
    EXPECT_EQ((std::bit_cast<std::array<std::uint64_t, COUNTERS.size()>>(adapter.counters)), counted);
    EXPECT_EQ(freed.count(), 1);
}

MIB_IFROW lastRow{};
DWORD rowStatus = NO_ERROR;

DWORD WINAPI takeRow(PMIB_IFROW row)
{
    lastRow = *row;
    return rowStatus;
}

TEST(PlatformAdapters, StateChange_isThePlatforms)
{
    const support::LogCapture log(1);
    const support::ImportHook hook("SetIfEntry", &takeRow);
    broker::PlatformAdapters source;
    broker::Adapter adapter;
    adapter.index = 17;
    adapter.guid = "{G}";
    const auto change = [&](DWORD status, broker::AdministrativeState state) {
        rowStatus = status;
        return source.setAdministrativeState(adapter, state);
    };
    EXPECT_EQ(change(NO_ERROR, broker::AdministrativeState::DOWN), broker::StateChange::DONE);
    EXPECT_EQ(lastRow.dwIndex, 17U);
    EXPECT_EQ(lastRow.dwAdminStatus, static_cast<DWORD>(MIB_IF_ADMIN_STATUS_DOWN));
    EXPECT_EQ(change(ERROR_NOT_SUPPORTED, broker::AdministrativeState::UP), broker::StateChange::NOT_SUPPORTED);
    EXPECT_EQ(lastRow.dwAdminStatus, static_cast<DWORD>(MIB_IF_ADMIN_STATUS_UP));
    EXPECT_EQ(change(ERROR_CALL_NOT_IMPLEMENTED, broker::AdministrativeState::UP), broker::StateChange::NOT_SUPPORTED);
    EXPECT_THAT(log.events(), IsEmpty());
    EXPECT_EQ(change(ERROR_ACCESS_DENIED, broker::AdministrativeState::UP), broker::StateChange::FAILED);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("broker::PlatformAdapters::setAdministrativeState: error: "
                                                   "SetIfEntry {G} error 5\n")));
}

}  // namespace
