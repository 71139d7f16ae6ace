#include <winsock2.h>
#include <ws2tcpip.h>

#include "support/MadeUpAdapters.h"

#include <iphlpapi.h>
#include <netioapi.h>

#include <array>
#include <string_view>
#include <vector>

namespace support {

namespace {

MadeUpAdapters* current = nullptr;

constexpr std::wstring_view DESCRIPTION = L"Made-up Ethernet Adapter";

GUID guidOf(std::size_t number)
{
    return {static_cast<ULONG>(number), 0, 0, {}};
}

void fill(MIB_IF_ROW2& row, std::size_t number)
{
    constexpr ULONG64 SPEED = 1'000'000'000;
    row.InterfaceGuid = guidOf(number);
    row.InterfaceLuid.Value = number + 1;
    row.InterfaceIndex = static_cast<NET_IFINDEX>(number + 1);
    DESCRIPTION.copy(row.Description, DESCRIPTION.size());
    std::wstring_view(L"eth").copy(row.Alias, 3);
    row.Type = IF_TYPE_ETHERNET_CSMACD;
    row.PhysicalMediumType = NdisPhysicalMedium802_3;
    row.OperStatus = IfOperStatusUp;
    row.AdminStatus = NET_IF_ADMIN_STATUS_UP;
    row.MediaConnectState = MediaConnectStateConnected;
    row.PhysicalAddressLength = 6;
    row.PhysicalAddress[0] = 2;
    row.PermanentPhysicalAddress[0] = 2;
    row.TransmitLinkSpeed = SPEED;
    row.ReceiveLinkSpeed = SPEED;
    row.Mtu = 1500;
}

// The data to which the result of GetAdaptersAddresses points. It lives as long as the program.
struct AdapterAddresses
{
    IP_ADAPTER_ADDRESSES adapter{};
    std::array<char, 39> guid{};
    std::array<wchar_t, 2> name{L"a"};
    std::array<IP_ADAPTER_UNICAST_ADDRESS, 4> unicast{};
    std::array<sockaddr_in, 4> sockets{};
};

void fill(AdapterAddresses& entry, std::size_t number, std::size_t addresses)
{
    MadeUpAdapters::guidText(number).copy(entry.guid.data(), entry.guid.size());
    entry.adapter.AdapterName = entry.guid.data();
    entry.adapter.FriendlyName = entry.name.data();
    entry.adapter.Description = entry.name.data();
    entry.adapter.DnsSuffix = entry.name.data();
    entry.adapter.IfType = IF_TYPE_ETHERNET_CSMACD;
    entry.adapter.IfIndex = static_cast<ULONG>(number + 1);
    entry.adapter.Luid.Value = number + 1;
    for (std::size_t j = 0; j < addresses; ++j) {
        entry.sockets[j].sin_family = AF_INET;
        entry.sockets[j].sin_addr.S_un.S_addr = static_cast<ULONG>(10U + (j << 8U) + (number << 16U));
        entry.unicast[j].Address = {reinterpret_cast<SOCKADDR*>(&entry.sockets[j]), sizeof(sockaddr_in)};
        entry.unicast[j].OnLinkPrefixLength = 24;
        entry.unicast[j].DadState = IpDadStatePreferred;
        entry.unicast[j].Next = j == 0 ? nullptr : &entry.unicast[j - 1];
    }
    entry.adapter.FirstUnicastAddress = addresses == 0 ? nullptr : &entry.unicast[addresses - 1];
}

NETIO_STATUS WINAPI interfaces(PMIB_IF_TABLE2* result)
{
    ++current->interfaceReads;
    const std::size_t size = offsetof(MIB_IF_TABLE2, Table) + current->count * sizeof(MIB_IF_ROW2);
    auto* table = static_cast<MIB_IF_TABLE2*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size));
    table->NumEntries = static_cast<ULONG>(current->count);
    for (std::size_t i = 0; i < current->count; ++i) {
        fill(table->Table[i], i);
    }
    *result = table;
    return NO_ERROR;
}

void WINAPI freeTable(PVOID table)
{
    HeapFree(GetProcessHeap(), 0, table);
}

ULONG WINAPI addresses(ULONG /*family*/, ULONG /*flags*/, PVOID /*reserved*/, PIP_ADAPTER_ADDRESSES buffer,
                       PULONG /*size*/)
{
    ++current->addressReads;
    static std::vector<AdapterAddresses> all;
    all = std::vector<AdapterAddresses>(current->count);
    for (std::size_t i = 0; i < all.size(); ++i) {
        fill(all[i], i, current->addressesOfEach);
        all[i].adapter.Next = i + 1 == all.size() ? nullptr : &all[i + 1].adapter;
    }
    // The caller's buffer holds the first adapter. Its chain leads to the others.
    *buffer = all.front().adapter;
    return NO_ERROR;
}

}  // namespace

MadeUpAdapters::MadeUpAdapters(HMODULE module)
    : m_interfaces("GetIfTable2", &interfaces, module),
      m_freeTable("FreeMibTable", &freeTable, module),
      m_addresses("GetAdaptersAddresses", &addresses, module)
{
    current = this;
}

MadeUpAdapters::~MadeUpAdapters()
{
    current = nullptr;
}

std::string MadeUpAdapters::guidText(std::size_t number)
{
    std::array<wchar_t, 39> text{};
    StringFromGUID2(guidOf(number), text.data(), static_cast<int>(text.size()));
    // Copies ASCII text without its terminator.
    return {text.begin(), text.end() - 1};
}

}  // namespace support
