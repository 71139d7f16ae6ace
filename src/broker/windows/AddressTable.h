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

// The platform's list of the adapters that a protocol is bound to, with what the flags of GetAdaptersAddresses ask for.
// Owns the list. Belongs to one thread.
class AddressTable
{
public:
    explicit AddressTable(ULONG flags);

    // The platform's code. A machine without any address is no failure.
    ULONG status() const noexcept { return m_status; }

    // Those that are ports, in the platform's order; none after a failure. They live as long as the table.
    std::vector<const IP_ADAPTER_ADDRESSES*> ports() const;

private:
    IP_ADAPTER_ADDRESSES* first() noexcept { return reinterpret_cast<IP_ADAPTER_ADDRESSES*>(m_buffer.data()); }

    std::vector<std::max_align_t> m_buffer;
    ULONG m_status = NO_ERROR;
    bool m_isEmpty = true;
};

// Upper-case digits of at most as many bytes as a hardware address may have.
std::string hexDigits(const UCHAR* bytes, ULONG length);

// An IPv4 or IPv6 address without its zone; empty for null and for other families.
std::string addressText(const SOCKADDR* address);

}  // namespace broker
