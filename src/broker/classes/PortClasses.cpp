#include "broker/classes/PortClasses.h"

#include <algorithm>
#include <array>

#include "Utils/Time.h"
#include "Utils/Utils.h"

namespace broker {

namespace {

// The IANA numbers of the interface types that the classes know by name.
constexpr std::uint32_t TYPE_ETHERNET = 6;
constexpr std::uint32_t TYPE_TOKEN_RING = 9;
constexpr std::uint32_t TYPE_FDDI = 15;
constexpr std::uint32_t TYPE_FRAME_RELAY = 32;
constexpr std::uint32_t TYPE_ATM = 37;
constexpr std::uint32_t TYPE_FIBRE_CHANNEL = 56;
constexpr std::uint32_t TYPE_WIRELESS_LAN = 71;
constexpr std::uint32_t TYPE_INFINIBAND = 199;

std::optional<std::string> known(const std::string& text)
{
    return text.empty() ? std::nullopt : std::make_optional(text);
}

const std::string& systemClassName(const PortRow& /*row*/)
{
    return computerSystemClass();
}
const std::string& systemName(const PortRow& row)
{
    return row.systemName;
}
std::string className(const PortRow& /*row*/)
{
    return ETHERNET_PORT;
}
const std::string& deviceId(const PortRow& row)
{
    return row.adapter.guid;
}
const std::string& name(const PortRow& row)
{
    return row.adapter.name;
}
const std::string& description(const PortRow& row)
{
    return row.adapter.description;
}
std::optional<std::string> permanentAddress(const PortRow& row)
{
    return known(row.adapter.permanentAddress);
}

std::vector<std::string> networkAddresses(const PortRow& row)
{
    return row.adapter.hardwareAddress.empty() ? std::vector<std::string>() : std::vector{row.adapter.hardwareAddress};
}

std::uint16_t linkTechnology(const PortRow& row)
{
    switch (row.adapter.type) {
        case TYPE_ETHERNET:
            return 2;
        case TYPE_INFINIBAND:
            return 3;
        case TYPE_FIBRE_CHANNEL:
            return 4;
        case TYPE_FDDI:
            return 5;
        case TYPE_ATM:
            return 6;
        case TYPE_TOKEN_RING:
            return 7;
        case TYPE_FRAME_RELAY:
            return 8;
        case TYPE_WIRELESS_LAN:
            return 11;
        default:
            return 1;
    }
}

std::uint16_t portType(const PortRow& row)
{
    // The platform tells an Ethernet adapter's speed, not its medium: that kind stays unknown rather than guessed.
    return row.adapter.type == TYPE_ETHERNET ? 0 : 1;
}

std::uint32_t interfaceIndex(const PortRow& row)
{
    return row.adapter.index;
}
std::optional<std::uint64_t> speed(const PortRow& row)
{
    return row.adapter.transmitSpeed;
}

// The faster of the two directions; the platform tells what the link does, not what the adapter could do.
std::optional<std::uint64_t> maxSpeed(const PortRow& row)
{
    return std::max(row.adapter.transmitSpeed, row.adapter.receiveSpeed);
}

std::uint64_t mtu(const PortRow& row)
{
    return row.adapter.mtu;
}

// The platform's adapter tables do not hold it.
std::optional<bool> fullDuplex(const PortRow& /*row*/)
{
    return std::nullopt;
}

std::uint16_t enabledState(const PortRow& row)
{
    constexpr std::uint16_t ENABLED = 2;
    constexpr std::uint16_t DISABLED = 3;
    constexpr std::uint16_t ENABLED_BUT_OFFLINE = 6;
    constexpr std::uint16_t IN_TEST = 7;
    switch (row.adapter.administrative) {
        case AdministrativeState::TESTING:
            return IN_TEST;
        case AdministrativeState::DOWN:
            return DISABLED;
        default:
            return row.adapter.operational == OperationalState::UP ? ENABLED : ENABLED_BUT_OFFLINE;
    }
}

// What was last asked for is what the platform holds as the administrative state.
std::uint16_t requestedState(const PortRow& row)
{
    switch (row.adapter.administrative) {
        case AdministrativeState::UP:
            return 2;
        case AdministrativeState::DOWN:
            return 3;
        default:
            return 8;
    }
}

std::uint16_t healthState(const PortRow& row)
{
    constexpr std::uint16_t UNKNOWN = 0;
    constexpr std::uint16_t OK = 5;
    // A port without a link may be perfectly healthy: nothing is known about it.
    return row.adapter.operational == OperationalState::UP ? OK : UNKNOWN;
}

std::vector<std::uint16_t> operationalStatus(const PortRow& row)
{
    constexpr std::uint16_t UNKNOWN = 0;
    constexpr std::uint16_t OK = 2;
    constexpr std::uint16_t STOPPED = 10;
    constexpr std::uint16_t IN_SERVICE = 11;
    constexpr std::uint16_t NO_CONTACT = 12;
    constexpr std::uint16_t LOST_COMMUNICATION = 13;
    constexpr std::uint16_t DORMANT = 15;
    switch (row.adapter.operational) {
        case OperationalState::UP:
            return {OK};
        case OperationalState::DOWN:
            return {row.adapter.administrative == AdministrativeState::DOWN ? STOPPED : NO_CONTACT};
        case OperationalState::LOWER_LAYER_DOWN:
            return {NO_CONTACT};
        case OperationalState::TESTING:
            return {IN_SERVICE};
        case OperationalState::DORMANT:
            return {DORMANT};
        case OperationalState::NOT_PRESENT:
            return {LOST_COMMUNICATION};
        default:
            return {UNKNOWN};
    }
}

// A text that identifies the adapter, and what it is; both arrays are made from the same list.
struct Identification
{
    const char* description;
    std::string text;
};

std::vector<Identification> identifications(const Adapter& adapter)
{
    std::vector<Identification> result;
    if (!adapter.hardwareAddress.empty()) {
        result.push_back({"Hardware Address", adapter.hardwareAddress});
    }
    result.push_back({"Interface LUID", utils::format("0x%llX", static_cast<unsigned long long>(adapter.luid))});
    return result;
}

std::vector<std::string> otherIdentifyingInfo(const PortRow& row)
{
    std::vector<std::string> result;
    for (Identification& entry : identifications(row.adapter)) {
        result.push_back(std::move(entry.text));
    }
    return result;
}

std::vector<std::string> identifyingDescriptions(const PortRow& row)
{
    std::vector<std::string> result;
    for (const Identification& entry : identifications(row.adapter)) {
        result.emplace_back(entry.description);
    }
    return result;
}

constexpr std::array portColumns{
    key<&systemClassName>("SystemCreationClassName"),
    key<&systemName>("SystemName"),
    key<&className>("CreationClassName"),
    key<&deviceId>("DeviceID"),
    column<&name>("Name"),
    column<&name>("ElementName"),
    column<&description>("Caption"),
    column<&description>("Description"),
    column<&permanentAddress>("PermanentAddress"),
    column<&networkAddresses>("NetworkAddresses"),
    column<&linkTechnology>("LinkTechnology"),
    column<&portType>("PortType"),
    column<&interfaceIndex>("InterfaceIndex"),
    column<&speed>("Speed"),
    column<&maxSpeed>("MaxSpeed"),
    column<&mtu>("ActiveMaximumTransmissionUnit"),
    column<&fullDuplex>("FullDuplex"),
    column<&enabledState>("EnabledState"),
    column<&requestedState>("RequestedState"),
    column<&healthState>("HealthState"),
    column<&operationalStatus>("OperationalStatus"),
    column<&otherIdentifyingInfo>("OtherIdentifyingInfo"),
    column<&identifyingDescriptions>("IdentifyingDescriptions"),
};

template <std::uint64_t Counters::*Counter>
std::uint64_t counter(const StatisticsRow& row)
{
    return row.adapter.counters.*Counter;
}

template <std::uint64_t Counters::*First, std::uint64_t Counters::*Second>
std::uint64_t sum(const StatisticsRow& row)
{
    return row.adapter.counters.*First + row.adapter.counters.*Second;
}

// The platform counts multicasts and broadcasts together, so neither of the two is known by itself.
std::optional<std::uint64_t> notCounted(const StatisticsRow& /*row*/)
{
    return std::nullopt;
}

std::string statisticsId(const StatisticsRow& row)
{
    return "Vexal:PortStatistics:" + row.adapter.guid;
}
utils::Time statisticTime(const StatisticsRow& row)
{
    return utils::Time::timestamp(row.time);
}

template <auto Read>
constexpr auto counted(const char* name)
{
    return column<Read>(name, PutRule::VOLATILE);
}

constexpr std::array statisticsColumns{
    key<&statisticsId>("InstanceID"),
    counted<&sum<&Counters::bytesReceived, &Counters::bytesTransmitted>>("BytesTotal"),
    counted<&counter<&Counters::bytesReceived>>("BytesReceived"),
    counted<&counter<&Counters::bytesTransmitted>>("BytesTransmitted"),
    counted<&sum<&Counters::unicastPacketsReceived, &Counters::nonUnicastPacketsReceived>>("PacketsReceived"),
    counted<&sum<&Counters::unicastPacketsTransmitted, &Counters::nonUnicastPacketsTransmitted>>("PacketsTransmitted"),
    counted<&counter<&Counters::unicastPacketsReceived>>("UnicastPacketsReceived"),
    counted<&counter<&Counters::unicastPacketsTransmitted>>("UnicastPacketsTransmitted"),
    counted<&notCounted>("MulticastPacketsReceived"),
    counted<&notCounted>("MulticastPacketsTransmitted"),
    counted<&notCounted>("BroadcastPacketsReceived"),
    counted<&notCounted>("BroadcastPacketsTransmitted"),
    counted<&counter<&Counters::receiveErrors>>("TotalRxErrors"),
    counted<&counter<&Counters::transmitErrors>>("TotalTxErrors"),
    counted<&counter<&Counters::receiveDiscards>>("RxDiscards"),
    counted<&counter<&Counters::transmitDiscards>>("TxDiscards"),
    counted<&statisticTime>("StatisticTime"),
};

}  // namespace

const std::string& computerSystemClass()
{
    static const std::string name = "Win32_ComputerSystem";
    return name;
}

const ClassDescription<PortRow> ethernetPortClass{ETHERNET_PORT, portColumns,
                                                  [](const PortRow& row) { return row.adapter.guid; }};

const ClassDescription<StatisticsRow> ethernetPortStatisticsClass{
    ETHERNET_PORT_STATISTICS, statisticsColumns, [](const StatisticsRow& row) { return row.adapter.guid; }};

}  // namespace broker
