#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>
#include <netioapi.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "support/ImportHook.h"

// Answers of the platform's functions for network tables, which the tests set.
namespace fakes {

// Makes a table as the platform does. FreeMibTable frees it.
template <class Table, class Rows>
Table* makeTable(const Rows& rows)
{
    const std::size_t size = offsetof(Table, Table) + rows.size() * sizeof(rows[0]);
    auto* made = static_cast<Table*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size));
    made->NumEntries = static_cast<ULONG>(rows.size());
    std::copy(rows.begin(), rows.end(), made->Table);
    return made;
}

// While it lives, counts and frees the tables that makeTable made. One object at a time.
class TablesFreed
{
public:
    TablesFreed() { s_count = 0; }
    int count() const noexcept { return s_count; }

private:
    static void WINAPI release(PVOID memory)
    {
        ++s_count;
        HeapFree(GetProcessHeap(), 0, memory);
    }

    static inline int s_count = 0;
    support::ImportHook m_hook{"FreeMibTable", &release};
};

// The size of a list. It grows after each refusal, as where adapters are added all the time.
struct ListSize
{
    // Whether the caller's buffer is too small for the list; if so, tells the caller the size.
    bool refuses(ULONG& size) noexcept
    {
        if (size >= bytes) {
            return false;
        }
        size = bytes;
        bytes += growth;
        return true;
    }

    ULONG bytes = 0;
    ULONG growth = 0;
};

// While it lives, the platform's list of addresses has one adapter, an Ethernet card that the test changes. One object
// at a time.
class OneAdapter
{
public:
    OneAdapter()
    {
        s_row = {};
        s_size = {};
        s_row.IfType = IF_TYPE_ETHERNET_CSMACD;
        s_row.AdapterName = s_guid.data();
    }
    IP_ADAPTER_ADDRESSES* operator->() noexcept { return &s_row; }
    void setSize(const ListSize& size) noexcept { s_size = size; }

private:
    static ULONG WINAPI give(ULONG /*family*/, ULONG /*flags*/, PVOID /*reserved*/, PIP_ADAPTER_ADDRESSES buffer,
                             PULONG size)
    {
        if (s_size.refuses(*size)) {
            return ERROR_BUFFER_OVERFLOW;
        }
        *buffer = s_row;
        return NO_ERROR;
    }

    static inline IP_ADAPTER_ADDRESSES s_row{};
    static inline ListSize s_size;
    static inline std::array<char, 4> s_guid{"{G}"};
    support::ImportHook m_hook{"GetAdaptersAddresses", &give};
};

// Parses an IPv4 or IPv6 address. For any other text, the result has the family AF_IPX, which is neither.
inline sockaddr_in6 socketOf(const char* text)
{
    sockaddr_in6 socket{};
    auto& ipv4 = reinterpret_cast<sockaddr_in&>(socket);
    if (inet_pton(AF_INET, text, &ipv4.sin_addr) == 1) {
        ipv4.sin_family = AF_INET;
    } else {
        socket.sin6_family = inet_pton(AF_INET6, text, &socket.sin6_addr) == 1 ? AF_INET6 : AF_IPX;
    }
    return socket;
}

}  // namespace fakes
