// How PlatformAdapters reads the adapters' IP configurations. Most of it is in the list of addresses; the parameters of
// IPv4 and IPv6 and the leases of DHCP are in one table each.

#include <winsock2.h>
#include <ws2tcpip.h>

#include "Os/Windows/Platform.h"

#include <iphlpapi.h>
#include <netioapi.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <unordered_map>

#include "Os/Windows/AnsiText.h"
#include "Utils/Exception.h"
#include "Utils/Utils.h"
#include "broker/windows/AddressTable.h"
#include "broker/windows/PlatformAdapters.h"
#include "broker/windows/TableAnswer.h"

namespace broker {

namespace {

template <class Entry>
std::vector<std::string> addressTexts(const Entry* first)
{
    std::vector<std::string> result;
    for (const Entry* entry = first; entry != nullptr; entry = entry->Next) {
        std::string text = addressText(entry->Address.lpSockaddr);
        if (!text.empty()) {
            result.push_back(std::move(text));
        }
    }
    return result;
}

IpConfiguration configurationFrom(const IP_ADAPTER_ADDRESSES& adapter)
{
    IpConfiguration result;
    result.adapterGuid = adapter.AdapterName;
    result.gateways = addressTexts(adapter.FirstGatewayAddress);
    result.dnsServers = addressTexts(adapter.FirstDnsServerAddress);
    result.dnsSuffix = adapter.DnsSuffix == nullptr ? std::string() : utils::narrow(adapter.DnsSuffix);
    result.isDhcpOn = adapter.Dhcpv4Enabled != 0;
    result.dhcpServer = addressText(adapter.Dhcpv4Server.lpSockaddr);
    return result;
}

// On a platform without this table, such as an emulated one, metrics and MTUs stay unknown. Throws utils::EFailed if
// the table exists and cannot be read.
void addFamilies(std::vector<IpConfiguration>& configurations, const std::vector<const IP_ADAPTER_ADDRESSES*>& ports)
{
    MIB_IPINTERFACE_TABLE* rows = nullptr;
    const ULONG status = asked([&rows] { return GetIpInterfaceTable(AF_UNSPEC, &rows); });
    if (status == ERROR_NOT_SUPPORTED || status == ERROR_NOT_FOUND || meansNone(status)) {
        return;
    }
    if (status != NO_ERROR) {
        throw utils::EFailed(utils::format("GetIpInterfaceTable error %d", static_cast<int>(status)));
    }
    const std::unique_ptr<MIB_IPINTERFACE_TABLE, TableFreer> table(rows);
    std::unordered_map<std::uint64_t, IpConfiguration*> byLuid;
    for (std::size_t i = 0; i < ports.size(); ++i) {
        byLuid.emplace(ports[i]->Luid.Value, &configurations[i]);
    }
    std::for_each(table->Table, table->Table + table->NumEntries, [&byLuid](const MIB_IPINTERFACE_ROW& row) {
        const auto found = byLuid.find(row.InterfaceLuid.Value);
        if (found != byLuid.end()) {
            FamilyConfiguration& family = row.Family == AF_INET ? found->second->ipv4 : found->second->ipv6;
            family.metric = row.Metric;
            family.mtu = row.NlMtu;
        }
    });
}

// Empty for 0, which the platform writes when no lease time is known.
std::optional<WallTime> wallTime(time_t seconds)
{
    return seconds <= 0 ? std::nullopt : std::make_optional<WallTime>(std::chrono::seconds{seconds});
}

// Throws utils::EFailed if the leases cannot be read.
void addLeases(std::vector<IpConfiguration>& configurations)
{
    const auto usesDhcp = [](const IpConfiguration& configuration) { return configuration.isDhcpOn; };
    if (std::none_of(configurations.begin(), configurations.end(), usesDhcp)) {
        return;
    }
    // The platform's older list is the only one with the times of the leases.
    std::vector<std::max_align_t> buffer;
    const ULONG status = asked([&buffer] {
        return readList(buffer, [&buffer](ULONG& size) {
            return GetAdaptersInfo(reinterpret_cast<IP_ADAPTER_INFO*>(buffer.data()), &size);
        });
    });
    if (meansNone(status)) {
        return;
    }
    if (status != NO_ERROR) {
        throw utils::EFailed(utils::format("GetAdaptersInfo error %d", static_cast<int>(status)));
    }
    for (const auto* info = reinterpret_cast<const IP_ADAPTER_INFO*>(buffer.data()); info != nullptr; info = info->Next)
    {
        const auto found = std::find_if(
            configurations.begin(), configurations.end(),
            [info](const IpConfiguration& configuration) { return configuration.adapterGuid == info->AdapterName; });
        if (found != configurations.end() && found->isDhcpOn) {
            found->leaseObtained = wallTime(info->LeaseObtained);
            found->leaseExpires = wallTime(info->LeaseExpires);
        }
    }
}

}  // namespace

std::vector<IpConfiguration> PlatformAdapters::readIpConfigurations()
{
    constexpr ULONG FLAGS =
        GAA_FLAG_SKIP_UNICAST | GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_INCLUDE_GATEWAYS;
    const AddressTable table(FLAGS);
    const std::vector<const IP_ADAPTER_ADDRESSES*> ports = table.ports();
    std::vector<IpConfiguration> result;
    result.reserve(ports.size());
    for (const IP_ADAPTER_ADDRESSES* port : ports) {
        result.push_back(configurationFrom(*port));
    }
    addFamilies(result, ports);
    addLeases(result);
    return result;
}

}  // namespace broker
