#include "broker/windows/PlatformAdapters.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>
#include <netioapi.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>

#include "Os/Windows/AnsiText.h"
#include "Utils/Exception.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"
#include "support/PrivateRegistry.h"

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
    std::array<char, 3> digits{};
    for (ULONG i = 0; i < adapter.PhysicalAddressLength; ++i) {
        std::snprintf(digits.data(), digits.size(), "%02X", adapter.PhysicalAddress[i]);
        result += digits.data();
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

int refusals = 0;
int tableCalls = 0;
NETIO_STATUS refusal = ERROR_ACCESS_DENIED;

// Refuses as often as `refusals` requires.
NETIO_STATUS WINAPI refuseIfTable(PMIB_IF_TABLE2* table)
{
    ++tableCalls;
    return tableCalls <= refusals ? refusal : GetIfTable2Ex(MibIfTableNormal, table);
}

ULONG WINAPI failAddresses(ULONG /*family*/, ULONG /*flags*/, PVOID /*reserved*/, PIP_ADAPTER_ADDRESSES /*buffer*/,
                           PULONG /*size*/)
{
    return ERROR_NOT_ENOUGH_MEMORY;
}

ULONG WINAPI noAddresses(ULONG /*family*/, ULONG /*flags*/, PVOID /*reserved*/, PIP_ADAPTER_ADDRESSES /*buffer*/,
                         PULONG /*size*/)
{
    return ERROR_NO_DATA;
}

int overflowCalls = 0;

ULONG WINAPI alwaysTooSmall(ULONG /*family*/, ULONG /*flags*/, PVOID /*reserved*/, PIP_ADAPTER_ADDRESSES /*buffer*/,
                            PULONG size)
{
    ++overflowCalls;
    *size += 1024;
    return ERROR_BUFFER_OVERFLOW;
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
        sockaddr_in6 socket{};
        auto& ipv4 = reinterpret_cast<sockaddr_in&>(socket);
        if (inet_pton(AF_INET, text, &ipv4.sin_addr) == 1) {
            ipv4.sin_family = AF_INET;
        } else {
            socket.sin6_family = inet_pton(AF_INET6, text, &socket.sin6_addr) == 1 ? AF_INET6 : AF_IPX;
        }
        IP_ADAPTER_UNICAST_ADDRESS address{};
        address.OnLinkPrefixLength = 24;
        address.DadState = IpDadStatePreferred;
        address.PrefixOrigin = IpPrefixOriginManual;
        fakeSockets.push_back(socket);
        fakeAddresses.push_back(address);
        return fakeAddresses.back();
    }

    static std::vector<std::string> texts(const std::vector<broker::Address>& addresses)
    {
        std::vector<std::string> result;
        for (const broker::Address& address : addresses) {
            result.push_back(address.text);
        }
        return result;
    }

    support::ImportHook m_hook{"GetAdaptersAddresses", &fakeAddressList};
    broker::PlatformAdapters m_source;
};

DWORD setIfEntryResult = NO_ERROR;
MIB_IFROW lastRow{};

DWORD WINAPI fakeSetIfEntry(PMIB_IFROW row)
{
    lastRow = *row;
    return setIfEntryResult;
}

std::array<MIB_IF_ROW2, 3> fakeRows{};

NETIO_STATUS WINAPI fakeIfTable(PMIB_IF_TABLE2* table)
{
    const std::size_t size = offsetof(MIB_IF_TABLE2, Table) + sizeof(fakeRows);
    auto* made = static_cast<MIB_IF_TABLE2*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size));
    made->NumEntries = static_cast<ULONG>(fakeRows.size());
    std::copy(fakeRows.begin(), fakeRows.end(), made->Table);
    *table = made;
    return NO_ERROR;
}

int tablesFreed = 0;

void WINAPI countingFree(PVOID memory)
{
    ++tablesFreed;
    HeapFree(GetProcessHeap(), 0, memory);
}

TEST(PlatformAdapters, Adapters_areThePlatforms)
{
    broker::PlatformAdapters source;
    const auto adapters = source.readAdapters();
    PlatformList list;
    const auto expected = list.adapters();
    ASSERT_FALSE(expected.empty());
    ASSERT_EQ(adapters.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(adapters[i].guid, expected[i]->AdapterName);
        EXPECT_EQ(adapters[i].name, utils::narrow(expected[i]->FriendlyName));
        EXPECT_EQ(adapters[i].description, utils::narrow(expected[i]->Description));
        EXPECT_EQ(adapters[i].hardwareAddress, hardwareAddress(*expected[i]));
        EXPECT_EQ(adapters[i].index, expected[i]->IfIndex);
        EXPECT_EQ(adapters[i].mtu, expected[i]->Mtu);
        EXPECT_EQ(adapters[i].type, expected[i]->IfType);
        EXPECT_EQ(static_cast<int>(adapters[i].operational), static_cast<int>(expected[i]->OperStatus));
        EXPECT_EQ(adapters[i].luid, expected[i]->Luid.Value);
    }
}

TEST(PlatformAdapters, Addresses_areThePlatforms)
{
    broker::PlatformAdapters source;
    std::vector<std::string> read;
    for (const broker::Address& address : source.readAddresses()) {
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
    const support::ImportHook hook("GetIfTable2", &refuseIfTable);
    refusals = 1;
    tableCalls = 0;
    broker::PlatformAdapters source;
    EXPECT_FALSE(source.readAdapters().empty());
    EXPECT_EQ(tableCalls, 2);
    EXPECT_THAT(log.events(), IsEmpty());
}

TEST(PlatformAdapters, TableRefusedTwice_isAFailure)
{
    const support::LogCapture log(1);
    const support::ImportHook hook("GetIfTable2", &refuseIfTable);
    refusals = 2;
    tableCalls = 0;
    broker::PlatformAdapters source;
    EXPECT_THROW(source.readAdapters(), utils::EFailed);
    EXPECT_EQ(tableCalls, 2);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("error: GetIfTable2 error 5\n")));
}

TEST(PlatformAdapters, TableWithoutARow_isNoFailure)
{
    const support::LogCapture log(1);
    const support::ImportHook hook("GetIfTable2", &refuseIfTable);
    broker::PlatformAdapters source;
    for (const NETIO_STATUS none : {ERROR_NO_DATA, ERROR_ADDRESS_NOT_ASSOCIATED}) {
        refusal = none;
        refusals = 1;
        tableCalls = 0;
        EXPECT_THAT(source.readAdapters(), IsEmpty());
        EXPECT_EQ(tableCalls, 1);
    }
    EXPECT_THAT(log.events(), IsEmpty());
}

TEST(PlatformAdapters, AddressesRefusedTwice_areAFailure)
{
    const support::LogCapture log(1);
    const support::ImportHook hook("GetAdaptersAddresses", &failAddresses);
    broker::PlatformAdapters source;
    EXPECT_THROW(source.readAddresses(), utils::EFailed);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("error: GetAdaptersAddresses error 8\n")));
}

TEST(PlatformAdapters, NoAddresses_areNoError)
{
    const support::LogCapture log(1);
    const support::ImportHook hook("GetAdaptersAddresses", &noAddresses);
    broker::PlatformAdapters source;
    EXPECT_THAT(source.readAddresses(), IsEmpty());
    EXPECT_THAT(log.events(), IsEmpty());
}

TEST_F(FakeAddresses, Origins_areThePlatforms)
{
    using broker::AddressOrigin;
    constexpr std::array ORIGINS{std::pair{IpPrefixOriginManual, AddressOrigin::MANUAL},
                                 std::pair{IpPrefixOriginWellKnown, AddressOrigin::WELL_KNOWN},
                                 std::pair{IpPrefixOriginDhcp, AddressOrigin::DHCP},
                                 std::pair{IpPrefixOriginOther, AddressOrigin::OTHER},
                                 std::pair{IpPrefixOriginRouterAdvertisement, AddressOrigin::ROUTER_ADVERTISEMENT},
                                 std::pair{IpPrefixOriginUnchanged, AddressOrigin::UNKNOWN}};
    for (const auto& origin : ORIGINS) {
        add("10.0.0.1").PrefixOrigin = origin.first;
    }
    const auto addresses = m_source.readAddresses();
    ASSERT_EQ(addresses.size(), ORIGINS.size());
    for (std::size_t i = 0; i < ORIGINS.size(); ++i) {
        EXPECT_EQ(addresses[i].adapterGuid, "{G}");
        EXPECT_EQ(addresses[i].origin, ORIGINS[i].second);
    }
}

TEST_F(FakeAddresses, OtherFamilies_areLeftOut)
{
    add("not of the internet");
    add("10.0.0.2");
    EXPECT_THAT(texts(m_source.readAddresses()), ElementsAre("10.0.0.2"));
}

TEST_F(FakeAddresses, AddressesNotInUse_areLeftOut)
{
    add("10.0.0.1").DadState = IpDadStateInvalid;
    add("10.0.0.2").DadState = IpDadStateTentative;
    add("10.0.0.3").DadState = IpDadStateDuplicate;
    add("10.0.0.4").DadState = IpDadStateDeprecated;
    add("10.0.0.5").DadState = IpDadStatePreferred;
    EXPECT_THAT(texts(m_source.readAddresses()), ElementsAre("10.0.0.4", "10.0.0.5"));
}

TEST_F(FakeAddresses, IllegalPrefix_isUnknown)
{
    add("10.0.0.1").OnLinkPrefixLength = 255;
    add("10.0.0.2").OnLinkPrefixLength = 33;
    add("10.0.0.3").OnLinkPrefixLength = 32;
    add("fd00::1").OnLinkPrefixLength = 255;
    add("fd00::2").OnLinkPrefixLength = 128;
    std::vector<std::optional<std::uint8_t>> prefixes;
    for (const broker::Address& address : m_source.readAddresses()) {
        prefixes.push_back(address.prefixLength);
    }
    EXPECT_THAT(prefixes, ElementsAre(std::nullopt, std::nullopt, 32, std::nullopt, 128));
}

TEST_F(FakeAddresses, LinkLocalRanges_areRecognised)
{
    add("169.254.0.1");
    add("169.253.0.1");
    add("fe80::1");
    add("febf::1");
    add("fec0::1");
    std::vector<bool> local;
    for (const broker::Address& address : m_source.readAddresses()) {
        local.push_back(address.isLinkLocal);
    }
    EXPECT_THAT(local, ElementsAre(true, false, true, true, false));
}

TEST_F(FakeAddresses, Dhcp_isThatOfTheFamily)
{
    add("10.0.0.1");
    add("fd00::1");
    fakeAdapter.Flags = 0;
    fakeAdapter.Dhcpv4Enabled = 1;
    auto addresses = m_source.readAddresses();
    EXPECT_TRUE(addresses[0].isDhcpOn);
    EXPECT_FALSE(addresses[1].isDhcpOn);
    fakeAdapter.Flags = 0;
    fakeAdapter.Ipv6ManagedAddressConfigurationSupported = 1;
    addresses = m_source.readAddresses();
    EXPECT_FALSE(addresses[0].isDhcpOn);
    EXPECT_TRUE(addresses[1].isDhcpOn);
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

TEST(PlatformAdapters, GrowingList_isGivenUp)
{
    const support::LogCapture log(1);
    const support::ImportHook hook("GetAdaptersAddresses", &alwaysTooSmall);
    broker::PlatformAdapters source;
    EXPECT_THROW(source.readAddresses(), utils::EFailed);
    EXPECT_EQ(overflowCalls, 8);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("GetAdaptersAddresses error 111\n")));
}

TEST(PlatformAdapters, LoopbackAndFilters_areLeftOut)
{
    const support::ImportHook tableHook("GetIfTable2", &fakeIfTable);
    const support::ImportHook freeHook("FreeMibTable", &countingFree);
    fakeRows[0].Type = IF_TYPE_SOFTWARE_LOOPBACK;
    fakeRows[1].Type = IF_TYPE_ETHERNET_CSMACD;
    fakeRows[1].InterfaceAndOperStatusFlags.FilterInterface = TRUE;
    fakeRows[2].Type = IF_TYPE_ETHERNET_CSMACD;
    fakeRows[2].InterfaceGuid = {0x1234ABCD, 0x12, 0xAB, {1, 2, 3, 4, 5, 6, 7, 0xF0}};
    fakeRows[2].TransmitLinkSpeed = ~ULONG64{0};
    fakeRows[2].ReceiveLinkSpeed = 100;
    fakeRows[2].PhysicalAddressLength = 6;
    fakeRows[2].PhysicalAddress[0] = 0xAB;
    fakeRows[2].PermanentPhysicalAddress[5] = 0x0C;
    fakeRows[2].PhysicalMediumType = NdisPhysicalMedium802_3;
    fakeRows[2].InterfaceAndOperStatusFlags.HardwareInterface = TRUE;
    fakeRows[2].MediaConnectState = MediaConnectStateDisconnected;
    fakeRows[2].InUnknownProtos = 11;
    fakeRows[2].InUcastOctets = 12;
    fakeRows[2].OutUcastOctets = 13;
    fakeRows[2].InMulticastOctets = 14;
    fakeRows[2].OutMulticastOctets = 15;
    fakeRows[2].InBroadcastOctets = 16;
    fakeRows[2].OutBroadcastOctets = 17;
    fakeRows[2].AdminStatus = NET_IF_ADMIN_STATUS_DOWN;
    fakeRows[2].OperStatus = IfOperStatusDormant;
    fakeRows[2].InOctets = 1;
    fakeRows[2].OutOctets = 2;
    fakeRows[2].InUcastPkts = 3;
    fakeRows[2].OutUcastPkts = 4;
    fakeRows[2].InNUcastPkts = 5;
    fakeRows[2].OutNUcastPkts = 6;
    fakeRows[2].InErrors = 7;
    fakeRows[2].OutErrors = 8;
    fakeRows[2].InDiscards = 9;
    fakeRows[2].OutDiscards = 10;
    broker::PlatformAdapters source;
    const auto adapters = source.readAdapters();
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
    const broker::Counters& counters = adapter.counters;
    EXPECT_EQ(counters.bytesReceived, 1U);
    EXPECT_EQ(counters.bytesTransmitted, 2U);
    EXPECT_EQ(counters.unicastPacketsReceived, 3U);
    EXPECT_EQ(counters.unicastPacketsTransmitted, 4U);
    EXPECT_EQ(counters.nonUnicastPacketsReceived, 5U);
    EXPECT_EQ(counters.nonUnicastPacketsTransmitted, 6U);
    EXPECT_EQ(counters.receiveErrors, 7U);
    EXPECT_EQ(counters.transmitErrors, 8U);
    EXPECT_EQ(counters.receiveDiscards, 9U);
    EXPECT_EQ(counters.transmitDiscards, 10U);
    EXPECT_EQ(counters.unknownProtocolsReceived, 11U);
    EXPECT_EQ(counters.unicastBytesReceived, 12U);
    EXPECT_EQ(counters.unicastBytesTransmitted, 13U);
    EXPECT_EQ(counters.multicastBytesReceived, 14U);
    EXPECT_EQ(counters.multicastBytesTransmitted, 15U);
    EXPECT_EQ(counters.broadcastBytesReceived, 16U);
    EXPECT_EQ(counters.broadcastBytesTransmitted, 17U);
    EXPECT_EQ(tablesFreed, 1);
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
    const support::ImportHook tableHook("GetIfTable2", &fakeIfTable);
    const support::ImportHook freeHook("FreeMibTable", &countingFree);
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
    const support::ImportHook hook("SetIfEntry", &fakeSetIfEntry);
    broker::PlatformAdapters source;
    broker::Adapter adapter;
    adapter.index = 17;
    setIfEntryResult = NO_ERROR;
    EXPECT_EQ(source.setAdministrativeState(adapter, broker::AdministrativeState::DOWN), broker::StateChange::DONE);
    EXPECT_EQ(lastRow.dwIndex, 17U);
    EXPECT_EQ(lastRow.dwAdminStatus, static_cast<DWORD>(MIB_IF_ADMIN_STATUS_DOWN));
    source.setAdministrativeState(adapter, broker::AdministrativeState::UP);
    EXPECT_EQ(lastRow.dwAdminStatus, static_cast<DWORD>(MIB_IF_ADMIN_STATUS_UP));
}

TEST(PlatformAdapters, StateChange_missingFunction_isNotSupported)
{
    const support::LogCapture log(1);
    const support::ImportHook hook("SetIfEntry", &fakeSetIfEntry);
    broker::PlatformAdapters source;
    setIfEntryResult = ERROR_NOT_SUPPORTED;
    EXPECT_EQ(source.setAdministrativeState({}, broker::AdministrativeState::UP), broker::StateChange::NOT_SUPPORTED);
    EXPECT_THAT(log.events(), IsEmpty());
}

TEST(PlatformAdapters, StateChange_refused_isLogged)
{
    const support::LogCapture log(1);
    const support::ImportHook hook("SetIfEntry", &fakeSetIfEntry);
    broker::PlatformAdapters source;
    broker::Adapter adapter;
    adapter.guid = "{G}";
    setIfEntryResult = ERROR_ACCESS_DENIED;
    EXPECT_EQ(source.setAdministrativeState(adapter, broker::AdministrativeState::UP), broker::StateChange::FAILED);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("broker::PlatformAdapters::setAdministrativeState: error: "
                                                   "SetIfEntry {G} error 5\n")));
}

}  // namespace
