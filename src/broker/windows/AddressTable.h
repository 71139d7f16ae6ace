#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>

#include <cstddef>
#include <string>
#include <vector>

#include "broker/model/AdapterRules.h"

namespace broker {

// The platform's list of the adapters with a bound protocol, with the details that the flags of GetAdaptersAddresses
// select. Owns the list. Belongs to one thread.
class AddressTable
{
public:
    // Throws utils::EFailed if the platform refuses the list twice. A machine without any address has an empty list.
    explicit AddressTable(ULONG flags);

    // The adapters that are ports, in the platform's order. They live as long as the table.
    std::vector<const IP_ADAPTER_ADDRESSES*> ports() const;

private:
    std::vector<std::max_align_t> m_buffer;
    bool m_isEmpty = true;
};

// The bytes as upper-case digits, cut after the longest possible hardware address.
std::string hexDigits(const UCHAR* bytes, ULONG length);

// An IPv4 or IPv6 address without its zone; empty for null and for other families.
std::string addressText(const SOCKADDR* address);

}  // namespace broker
