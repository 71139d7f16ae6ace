#include "broker/windows/AddressTable.h"

#include <ifdef.h>
#include <mstcpip.h>

#include <algorithm>
#include <array>

#include "Os/Windows/AnsiText.h"
#include "Utils/Exception.h"
#include "Utils/Utils.h"
#include "broker/windows/TableAnswer.h"

namespace broker {

namespace {

InterfaceTraits traitsOf(const IP_ADAPTER_ADDRESSES& adapter)
{
    const ULONG length = std::min<ULONG>(adapter.PhysicalAddressLength, MAX_ADAPTER_ADDRESS_LENGTH);
    return {adapter.IfType, false, utils::narrow(adapter.Description), hexDigits(adapter.PhysicalAddress, length)};
}

}  // namespace

AddressTable::AddressTable(ULONG flags)
{
    const ULONG status = asked([this, flags] {
        return readList(m_buffer, [this, flags](ULONG& size) {
            auto* const first = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(m_buffer.data());
            return GetAdaptersAddresses(AF_UNSPEC, flags, nullptr, first, &size);
        });
    });
    if (status != NO_ERROR && !meansNone(status)) {
        throw utils::EFailed(utils::format("GetAdaptersAddresses error %d", static_cast<int>(status)));
    }
    m_isEmpty = status != NO_ERROR;
}

std::vector<const IP_ADAPTER_ADDRESSES*> AddressTable::ports() const
{
    std::vector<const IP_ADAPTER_ADDRESSES*> result;
    if (m_isEmpty) {
        return result;
    }
    for (const auto* adapter = reinterpret_cast<const IP_ADAPTER_ADDRESSES*>(m_buffer.data()); adapter != nullptr;
         adapter = adapter->Next)
    {
        if (isPort(traitsOf(*adapter))) {
            result.push_back(adapter);
        }
    }
    return result;
}

std::string hexDigits(const UCHAR* bytes, ULONG length)
{
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string result;
    for (ULONG i = 0; i < std::min<ULONG>(length, IF_MAX_PHYS_ADDRESS_LENGTH); ++i) {
        result += DIGITS[bytes[i] >> 4];
        result += DIGITS[bytes[i] & 0xF];
    }
    return result;
}

std::string addressText(const SOCKADDR* address)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address != nullptr && address->sa_family == AF_INET) {
        RtlIpv4AddressToStringA(&reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text.data());
    } else if (address != nullptr && address->sa_family == AF_INET6) {
        RtlIpv6AddressToStringA(&reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr, text.data());
    }
    return text.data();
}

}  // namespace broker
