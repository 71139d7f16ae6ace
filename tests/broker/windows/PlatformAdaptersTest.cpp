#include "broker/windows/PlatformAdapters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <numeric>
#include <stdexcept>

#include "Os/Windows/AnsiText.h"
#include "Utils/Exception.h"
#include "Utils/Utils.h"
#include "broker/windows/FakeTables.h"
#include "support/LogCapture.h"
#include "support/PrivateRegistry.h"
#include "support/Refusal.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Field;
using testing::IsEmpty;

// The platform's list, which the test reads itself.
class PlatformList
{
public:
    PlatformList()
    {
        ULONG size = static_cast<ULONG>(m_buffer.size() * sizeof(std::max_align_t));
        if (GetAdaptersAddresses(AF_UNSPEC, 0, nullptr, first(), &size) != NO_ERROR) {
            throw std::runtime_error("the platform tells no adapters");
        }
    }

    std::vector<const IP_ADAPTER_ADDRESSES*> adapters()
    {
        std::vector<const IP_ADAPTER_ADDRESSES*> result;
        for (const IP_ADAPTER_ADDRESSES* adapter = first(); adapter != nullptr; adapter = adapter->Next) {
            if (adapter->IfType != IF_TYPE_SOFTWARE_LOOPBACK) {
                result.push_back(adapter);
            }
        }
        return result;
    }

private:
    IP_ADAPTER_ADDRESSES* first() { return reinterpret_cast<IP_ADAPTER_ADDRESSES*>(m_buffer.data()); }

    std::vector<std::max_align_t> m_buffer = std::vector<std::max_align_t>(65536);
};

std::string hardwareAddress(const IP_ADAPTER_ADDRESSES& adapter)
{
    std::string result;
    for (ULONG i = 0; i < adapter.PhysicalAddressLength; ++i) {
        result += utils::format("%02X", adapter.PhysicalAddress[i]);
    }
    return result;
}

// "GUID address/prefix", which the test reads itself with another call than the tested code.
std::string addressLine(const IP_ADAPTER_ADDRESSES& adapter, const IP_ADAPTER_UNICAST_ADDRESS& unicast)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    const SOCKADDR* address = unicast.Address.lpSockaddr;
    if (address->sa_family == AF_INET) {
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text.data(), text.size());
    } else {
        inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr, text.data(), text.size());
    }
    return std::string(adapter.AdapterName) + " " + text.data() + "/" + std::to_string(unicast.OnLinkPrefixLength);
}

int tableCalls = 0;

// Refuses the first call.
NETIO_STATUS WINAPI refuseIfTableOnce(PMIB_IF_TABLE2* table)
{
    return ++tableCalls == 1 ? ERROR_ACCESS_DENIED : GetIfTable2Ex(MibIfTableNormal, table);
}

// The platform's answer, which the test sets: one adapter with these addresses.
std::vector<sockaddr_in6> fakeSockets;
std::vector<IP_ADAPTER_UNICAST_ADDRESS> fakeAddresses;
IP_ADAPTER_ADDRESSES fakeAdapter{};
std::array<char, 4> fakeGuid{"{G}"};

ULONG WINAPI fakeAddressList(ULONG /*family*/, ULONG /*flags*/, PVOID /*reserved*/, PIP_ADAPTER_ADDRESSES buffer,
                             PULONG /*size*/)
{
    for (std::size_t i = 0; i < fakeAddresses.size(); ++i) {
        fakeAddresses[i].Address.lpSockaddr = reinterpret_cast<SOCKADDR*>(&fakeSockets[i]);
        fakeAddresses[i].Next = i + 1 == fakeAddresses.size() ? nullptr : &fakeAddresses[i + 1];
    }
    *buffer = fakeAdapter;
    buffer->AdapterName = fakeGuid.data();
    buffer->FirstUnicastAddress = fakeAddresses.empty() ? nullptr : fakeAddresses.data();
    return NO_ERROR;
}

class FakeAddresses : public testing::Test
{
protected:
    FakeAddresses()
    {
        fakeSockets.clear();
        fakeAddresses.clear();
        fakeAdapter = {};
        fakeAdapter.IfType = IF_TYPE_ETHERNET_CSMACD;
    }

    // Adds an address in use, given as text. The caller may change its fields.
    static IP_ADAPTER_UNICAST_ADDRESS& add(const char* text)
    {
        IP_ADAPTER_UNICAST_ADDRESS address{};
        address.OnLinkPrefixLength = 24;
        address.DadState = IpDadStatePreferred;
        address.PrefixOrigin = IpPrefixOriginManual;
        fakeSockets.push_back(fakes::socketOf(text));
        fakeAddresses.push_back(address);
        return fakeAddresses.back();
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

    support::ImportHook m_hook{"GetAdaptersAddresses", &fakeAddressList};
    broker::PlatformAdapters m_source;
};

MIB_IFROW lastRow{};

DWORD WINAPI takeRow(PMIB_IFROW row)
{
    lastRow = *row;
    return NO_ERROR;
}

std::array<MIB_IF_ROW2, 3> fakeRows{};

NETIO_STATUS WINAPI fakeIfTable(PMIB_IF_TABLE2* table)
{
    *table = fakes::makeTable<MIB_IF_TABLE2>(fakeRows);
    return NO_ERROR;
}

TEST(PlatformAdapters, Adapters_areThePlatforms)
{
    const auto line = [](const std::string& guid, const std::string& names, const std::string& address,
                         auto... numbers) {
        return guid + " " + names + " " + address + " " +
               testing::PrintToString(std::vector<std::uint64_t>{static_cast<std::uint64_t>(numbers)...});
    };
    std::vector<std::string> read;
    for (const broker::Adapter& adapter : broker::PlatformAdapters().readAdapters()) {
        read.push_back(line(adapter.guid, adapter.name + ", " + adapter.description, adapter.hardwareAddress,
                            adapter.index, adapter.mtu, adapter.type, adapter.operational, adapter.luid));
    }
    std::vector<std::string> expected;
    PlatformList list;
    for (const IP_ADAPTER_ADDRESSES* adapter : list.adapters()) {
        expected.push_back(line(adapter->AdapterName,
                                utils::narrow(adapter->FriendlyName) + ", " + utils::narrow(adapter->Description),
                                hardwareAddress(*adapter), adapter->IfIndex, adapter->Mtu, adapter->IfType,
                                adapter->OperStatus, adapter->Luid.Value));
    }
    EXPECT_THAT(read, testing::Not(IsEmpty()));
    EXPECT_EQ(read, expected);
}

TEST(PlatformAdapters, Addresses_areThePlatforms)
{
    std::vector<std::string> read;
    for (const broker::Address& address : broker::PlatformAdapters().readAddresses()) {
        read.push_back(address.adapterGuid + " " + address.text + "/" + std::to_string(address.prefixLength.value()));
        EXPECT_EQ(address.family == broker::AddressFamily::IPV6, address.text.find(':') != std::string::npos);
    }
    std::vector<std::string> expected;
    PlatformList list;
    for (const IP_ADAPTER_ADDRESSES* adapter : list.adapters()) {
        for (const auto* unicast = adapter->FirstUnicastAddress; unicast != nullptr; unicast = unicast->Next) {
            expected.push_back(addressLine(*adapter, *unicast));
        }
    }
    EXPECT_EQ(read, expected);
}

TEST(PlatformAdapters, Adapter_isReadByItsLuid)
{
    broker::PlatformAdapters source;
    for (const broker::Adapter& listed : source.readAdapters()) {
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
    ASSERT_EQ(log.events().size(), 1U);
    EXPECT_THAT(log.events()[0],
                testing::HasSubstr("broker::PlatformAdapters::readAdapter: error: GetIfEntry2 error "));
}

TEST(PlatformAdapters, RefusedTable_isAskedForOnceMore)
{
    const support::LogCapture log(1);
    const support::ImportHook hook("GetIfTable2", &refuseIfTableOnce);
    EXPECT_FALSE(broker::PlatformAdapters().readAdapters().empty());
    EXPECT_EQ(tableCalls, 2);
    EXPECT_THAT(log.events(), IsEmpty());
}

TEST(PlatformAdapters, TableRefusedTwice_isAFailure)
{
    const support::LogCapture log(1);
    const support::Refusal<decltype(&GetIfTable2), ERROR_ACCESS_DENIED> refused("GetIfTable2");
    EXPECT_THROW(broker::PlatformAdapters().readAdapters(), utils::EFailed);
    EXPECT_EQ(refused.calls(), 2);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("error: GetIfTable2 error 5\n")));
}

template <NETIO_STATUS STATUS>
void expectNoAdapters()
{
    const support::LogCapture log(1);
    const support::Refusal<decltype(&GetIfTable2), STATUS> none("GetIfTable2");
    EXPECT_THAT(broker::PlatformAdapters().readAdapters(), IsEmpty());
    EXPECT_EQ(none.calls(), 1);
    EXPECT_THAT(log.events(), IsEmpty());
}

TEST(PlatformAdapters, TableWithoutARow_isNoFailure)
{
    expectNoAdapters<ERROR_NO_DATA>();
    expectNoAdapters<ERROR_ADDRESS_NOT_ASSOCIATED>();
}

TEST(PlatformAdapters, AddressesRefusedTwice_areAFailure)
{
    const support::LogCapture log(1);
    const support::Refusal<decltype(&GetAdaptersAddresses), ERROR_NOT_ENOUGH_MEMORY> refused("GetAdaptersAddresses");
    broker::PlatformAdapters source;
    EXPECT_THROW(source.readAddresses(), utils::EFailed);
    EXPECT_EQ(refused.calls(), 2);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("error: GetAdaptersAddresses error 8\n")));
}

TEST(PlatformAdapters, NoAddresses_areNoError)
{
    const support::LogCapture log(1);
    const support::Refusal<decltype(&GetAdaptersAddresses), ERROR_NO_DATA> none("GetAdaptersAddresses");
    broker::PlatformAdapters source;
    EXPECT_THAT(source.readAddresses(), IsEmpty());
    EXPECT_THAT(log.events(), IsEmpty());
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
    EXPECT_THAT(read(&broker::Address::text), ElementsAre("10.0.0.2"));
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
    fakeAdapter.Dhcpv4Enabled = 1;
    EXPECT_THAT(read(&broker::Address::isDhcpOn), ElementsAre(true, false));
    fakeAdapter.Flags = 0;
    fakeAdapter.Ipv6ManagedAddressConfigurationSupported = 1;
    EXPECT_THAT(read(&broker::Address::isDhcpOn), ElementsAre(false, true));
}

TEST_F(FakeAddresses, OfWhatIsNoPort_areLeftOut)
{
    add("fe80::5efe:10.0.0.1");
    fakeAdapter.IfType = IF_TYPE_TUNNEL;
    EXPECT_THAT(m_source.readAddresses(), IsEmpty());
    fakeAdapter.IfType = IF_TYPE_ETHERNET_CSMACD;
    constexpr std::array<BYTE, 6> REMOTE_ACCESS{0x9C, 0x8A, 0x20, 0x52, 0x41, 0x53};
    std::copy(REMOTE_ACCESS.begin(), REMOTE_ACCESS.end(), fakeAdapter.PhysicalAddress);
    fakeAdapter.PhysicalAddressLength = 6;
    EXPECT_THAT(m_source.readAddresses(), IsEmpty());
}

TEST(PlatformAdapters, ListThatNeverFits_isGivenUp)
{
    const support::LogCapture log(1);
    const support::Refusal<decltype(&GetAdaptersAddresses), ERROR_BUFFER_OVERFLOW> refused("GetAdaptersAddresses");
    EXPECT_THROW(broker::PlatformAdapters().readAddresses(), utils::EFailed);
    EXPECT_EQ(refused.calls(), 8);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("GetAdaptersAddresses error 111\n")));
}

TEST(PlatformAdapters, LoopbackAndFilters_areLeftOut)
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
    const auto adapters = broker::PlatformAdapters().readAdapters();
    ASSERT_EQ(adapters.size(), 1U);
    const broker::Adapter& adapter = adapters[0];
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

// Registers the adapter's driver as a hidden helper.
void hide(const std::string& guid)
{
    constexpr const char* KEY = R"(SYSTEM\CurrentControlSet\Control\Class\{4D36E972-E325-11CE-BFC1-08002BE10318}\0007)";
    constexpr DWORD FLAGS = 0x29;
    RegSetKeyValueA(HKEY_LOCAL_MACHINE, KEY, "Characteristics", REG_DWORD, &FLAGS, sizeof(FLAGS));
    RegSetKeyValueA(HKEY_LOCAL_MACHINE, KEY, "NetCfgInstanceId", REG_SZ, guid.c_str(),
                    static_cast<DWORD>(guid.size() + 1));
}

// A hidden adapter is found in the tables by its GUID, which therefore has the same form everywhere.
TEST(PlatformAdapters, HiddenAdapter_hasTheGuidOfTheTables)
{
    const support::PrivateRegistry registry;
    broker::PlatformAdapters source;
    const auto addresses = source.readAddresses();
    ASSERT_FALSE(addresses.empty());
    const std::string guid = addresses[0].adapterGuid;
    hide(guid);
    EXPECT_THAT(source.readHiddenAdapters(), ElementsAre(guid));
    EXPECT_THAT(source.readAdapters(), Contains(Field(&broker::Adapter::guid, guid)));
    EXPECT_THAT(source.readIpConfigurations(), Contains(Field(&broker::IpConfiguration::adapterGuid, guid)));
}

TEST(PlatformAdapters, PermanentAddress_ofZeros_isUnknown)
{
    const support::ImportHook hook("GetIfTable2", &fakeIfTable);
    const fakes::TablesFreed freed;
    fakeRows = {};
    fakeRows[0].Type = IF_TYPE_ETHERNET_CSMACD;
    fakeRows[0].PhysicalAddressLength = 6;
    fakeRows[0].PhysicalAddress[0] = 2;
    const auto adapters = broker::PlatformAdapters().readAdapters();
    EXPECT_EQ(adapters.at(0).hardwareAddress, "020000000000");
    EXPECT_EQ(adapters.at(0).permanentAddress, "");
}

TEST(PlatformAdapters, StateChange_hasTheIndexAndState)
{
    const support::ImportHook hook("SetIfEntry", &takeRow);
    broker::PlatformAdapters source;
    broker::Adapter adapter;
    adapter.index = 17;
    EXPECT_EQ(source.setAdministrativeState(adapter, broker::AdministrativeState::DOWN), broker::StateChange::DONE);
    EXPECT_EQ(lastRow.dwIndex, 17U);
    EXPECT_EQ(lastRow.dwAdminStatus, static_cast<DWORD>(MIB_IF_ADMIN_STATUS_DOWN));
    source.setAdministrativeState(adapter, broker::AdministrativeState::UP);
    EXPECT_EQ(lastRow.dwAdminStatus, static_cast<DWORD>(MIB_IF_ADMIN_STATUS_UP));
}

TEST(PlatformAdapters, StateChange_missingFunction_isNotSupported)
{
    const support::LogCapture log(1);
    const support::Refusal<decltype(&SetIfEntry), ERROR_NOT_SUPPORTED> refused("SetIfEntry");
    EXPECT_EQ(broker::PlatformAdapters().setAdministrativeState({}, broker::AdministrativeState::UP),
              broker::StateChange::NOT_SUPPORTED);
    EXPECT_THAT(log.events(), IsEmpty());
}

TEST(PlatformAdapters, StateChange_refused_isLogged)
{
    const support::LogCapture log(1);
    const support::Refusal<decltype(&SetIfEntry), ERROR_ACCESS_DENIED> refused("SetIfEntry");
    broker::Adapter adapter;
    adapter.guid = "{G}";
    EXPECT_EQ(broker::PlatformAdapters().setAdministrativeState(adapter, broker::AdministrativeState::UP),
              broker::StateChange::FAILED);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("broker::PlatformAdapters::setAdministrativeState: error: "
                                                   "SetIfEntry {G} error 5\n")));
}

}  // namespace
