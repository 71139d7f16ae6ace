#include "wmihost/metrics/MachineMetrics.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <map>
#include <optional>
#include <string_view>

#include "wmihost/objects/ObjectReader.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

// Values of Zerix_EthernetPort.EnabledState.
constexpr unsigned long long ENABLED = 2;
constexpr unsigned long long ENABLED_BUT_OFFLINE = 6;
// Values of Zerix_ConcreteJob.JobState.
constexpr unsigned long long JOB_COMPLETED = 7;
constexpr unsigned long long JOB_EXCEPTION = 10;
// Values of Zerix_IPProtocolEndpoint.AddressOrigin.
constexpr unsigned long long AUTO_CONFIGURATION = 8;
constexpr unsigned long long STATELESS = 9;

constexpr double BITS_PER_BYTE = 8;

std::string text(IWbemClassObject& row, std::wstring_view property)
{
    return toUtf8(textOf(row, property));
}

std::optional<unsigned long long> number(IWbemClassObject& row, std::wstring_view property)
{
    return parseUnsigned(textOf(row, property));
}

// The description of a property in the MOF, followed by a remark on the metric.
std::string helpOf(const ClassDefinition& definition, std::wstring_view property, const std::string& remark = "")
{
    const Property* found = definition.findProperty(property);
    const std::string description = found == nullptr ? "" : toUtf8(qualifierText(found->qualifiers, L"Description"));
    return description + (description.empty() || remark.empty() ? "" : " ") + remark;
}

std::string helpOfClass(const ClassDefinition& definition)
{
    return toUtf8(qualifierText(definition.qualifiers, L"Description"));
}

// The GUID in the key of a row that belongs to an adapter; empty if there is none.
std::string guidIn(const std::string& key)
{
    const std::size_t open = key.find('{');
    const std::size_t close = key.find('}', open == std::string::npos ? 0 : open);
    return open == std::string::npos || close == std::string::npos ? "" : key.substr(open, close - open + 1);
}

// A gauge with a sample for each port. `read` returns its value, or nothing.
template <class Read>
MetricFamily portGauge(const ClassRows& ports, const std::string& name, const std::string& help, Read read)
{
    MetricFamily family{name, help, MetricType::GAUGE, {}};
    for (const auto& port : ports.objects) {
        if (const std::optional<double> value = read(*port.get())) {
            family.samples.push_back({{{"guid", text(*port.get(), L"DeviceID")}}, *value});
        }
    }
    return family;
}

MetricFamily portInfo(const ClassRows& ports)
{
    MetricFamily family{"zerix_port_info", helpOfClass(*ports.definition), MetricType::GAUGE, {}};
    for (const auto& port : ports.objects) {
        family.samples.push_back({{{"guid", text(*port.get(), L"DeviceID")},
                                   {"name", text(*port.get(), L"Name")},
                                   {"mac", text(*port.get(), L"PermanentAddress")},
                                   {"description", text(*port.get(), L"Description")}},
                                  1});
    }
    return family;
}

std::optional<double> isUp(IWbemClassObject& port)
{
    const auto state = number(port, L"EnabledState");
    return state ? std::optional<double>(*state == ENABLED ? 1 : 0) : std::nullopt;
}

// The carrier of a port that is switched off or in test is unknown.
std::optional<double> hasCarrier(IWbemClassObject& port)
{
    const auto state = number(port, L"EnabledState");
    const bool known = state && (*state == ENABLED || *state == ENABLED_BUT_OFFLINE);
    return known ? std::optional<double>(*state == ENABLED ? 1 : 0) : std::nullopt;
}

std::optional<double> scaled(IWbemClassObject& row, std::wstring_view property, double divisor)
{
    const auto value = number(row, property);
    return value ? std::optional<double>(static_cast<double>(*value) / divisor) : std::nullopt;
}

void addPortStates(std::vector<MetricFamily>& families, const ClassRows& ports)
{
    const ClassDefinition& definition = *ports.definition;
    const std::string speedRemark = "In bytes a second; absent while it is unknown.";
    const auto addQuantity = [&](const char* name, const wchar_t* property, double divisor, const std::string& remark) {
        const auto read = [&](IWbemClassObject& port) { return scaled(port, property, divisor); };
        families.push_back(portGauge(ports, name, helpOf(definition, property, remark), read));
    };
    families.push_back(portInfo(ports));
    families.push_back(portGauge(ports, "zerix_port_up",
                                 helpOf(definition, L"EnabledState", "1: Enabled; 0: any other state."), isUp));
    families.push_back(
        portGauge(ports, "zerix_port_carrier",
                  helpOf(definition, L"EnabledState", "1: Enabled; 0: Enabled but Offline; absent in any other state."),
                  hasCarrier));
    addQuantity("zerix_port_speed_bytes_per_second", L"Speed", BITS_PER_BYTE, speedRemark);
    addQuantity("zerix_port_receive_speed_bytes_per_second", L"ReceiveLinkSpeed", BITS_PER_BYTE, speedRemark);
    addQuantity("zerix_port_mtu_bytes", L"ActiveMaximumTransmissionUnit", 1, "");
}

// "TotalRxErrors" is "total", "rx", "errors"; "IPBytes" is "ip", "bytes".
std::vector<std::string> wordsOf(const std::string& name)
{
    const auto isUpper = [&name](std::size_t at) { return std::isupper(static_cast<unsigned char>(name[at])) != 0; };
    std::vector<std::string> words;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const bool endsCapitals = i > 0 && i + 1 < name.size() && isUpper(i - 1) && !isUpper(i + 1);
        if (words.empty() || (isUpper(i) && (!isUpper(i - 1) || endsCapitals))) {
            words.emplace_back();
        }
        words.back() += static_cast<char>(std::tolower(static_cast<unsigned char>(name[i])));
    }
    return words;
}

void addCounters(std::vector<MetricFamily>& families, const ClassRows& statistics)
{
    for (const Property& property : statistics.definition->properties) {
        if (!hasQualifier(property.qualifiers, L"Counter")) {
            continue;
        }
        MetricFamily family{
            counterName(property), helpOf(*statistics.definition, property.name), MetricType::COUNTER, {}};
        for (const auto& row : statistics.objects) {
            const std::string guid = guidIn(text(*row.get(), L"InstanceID"));
            const auto value = number(*row.get(), property.name);
            if (value && !guid.empty()) {
                family.samples.push_back({{{"guid", guid}}, static_cast<double>(*value)});
            }
        }
        families.push_back(std::move(family));
    }
}

// Addresses that IPv6 configures automatically are counted and not named: the temporary ones among them are renewed
// every day, each would leave a series behind, and the origin does not show which ones they are.
bool changesOften(IWbemClassObject& endpoint)
{
    const auto origin = number(endpoint, L"AddressOrigin");
    return origin == AUTO_CONFIGURATION || origin == STATELESS;  // NOLINT(misc-redundant-expression): two constants
}

void addAddresses(std::vector<MetricFamily>& families, const ClassRows& ports, const ClassRows& endpoints)
{
    using Family = std::pair<std::wstring_view, const char*>;
    constexpr std::array KINDS{Family{L"IPv4Address", "ipv4"}, Family{L"IPv6Address", "ipv6"}};
    MetricFamily counts{
        "zerix_port_ip_addresses", helpOfClass(*endpoints.definition) + " How many a port has.", MetricType::GAUGE, {}};
    MetricFamily names{"zerix_port_ip_address_info",
                       helpOfClass(*endpoints.definition) + " Without those that the machine makes up itself (IPv6).",
                       MetricType::GAUGE,
                       {}};
    std::map<std::pair<std::string, std::string>, double> count;
    for (const auto& endpoint : endpoints.objects) {
        const std::string guid = guidIn(text(*endpoint.get(), L"Name"));
        for (const auto& [property, kind] : KINDS) {
            const std::string address = text(*endpoint.get(), property);
            if (guid.empty() || address.empty()) {
                continue;
            }
            ++count[{guid, kind}];
            if (!changesOften(*endpoint.get())) {
                names.samples.push_back({{{"guid", guid}, {"family", kind}, {"address", address}}, 1});
            }
        }
    }
    for (const auto& port : ports.objects) {
        const std::string guid = text(*port.get(), L"DeviceID");
        for (const auto& [property, kind] : KINDS) {
            counts.samples.push_back({{{"guid", guid}, {"family", kind}}, count[{guid, kind}]});
        }
    }
    families.push_back(std::move(counts));
    families.push_back(std::move(names));
}

template <class Matches>
MetricFamily jobCount(const ClassRows& jobs, const std::string& name, const std::string& remark, Matches matches)
{
    const auto count = std::count_if(jobs.objects.begin(), jobs.objects.end(), [&matches](const auto& job) {
        const auto state = number(*job.get(), L"JobState");
        return state && matches(*state);
    });
    return {name, helpOf(*jobs.definition, L"JobState", remark), MetricType::GAUGE, {{{}, static_cast<double>(count)}}};
}

}  // namespace

std::string counterName(const Property& property)
{
    std::vector<std::string> words = wordsOf(toUtf8(property.name));
    // The name of every counter ends in this word.
    std::erase(words, "total");
    for (const std::string& unit : wordsOf(toUtf8(qualifierText(property.qualifiers, L"Units")))) {
        if (std::erase(words, unit) > 0 || unit == "bytes") {
            words.push_back(unit);
        }
    }
    std::string name = "zerix_port";
    for (const std::string& word : words) {
        name += "_" + word;
    }
    return name + "_total";
}

std::vector<MetricFamily> machineMetrics(const MachineRows& rows)
{
    std::vector<MetricFamily> families;
    addPortStates(families, rows.ports);
    addCounters(families, rows.statistics);
    addAddresses(families, rows.ports, rows.endpoints);
    families.push_back(jobCount(rows.jobs, "zerix_jobs_running", "Jobs that have not ended.",
                                [](unsigned long long state) { return state < JOB_COMPLETED; }));
    families.push_back(jobCount(rows.jobs, "zerix_jobs_failed", "Jobs that ended with an exception and are still kept.",
                                [](unsigned long long state) { return state == JOB_EXCEPTION; }));
    return families;
}

}  // namespace wmihost
