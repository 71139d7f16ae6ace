#include "broker/classes/PortClasses.h"

#include <array>

#include "Utils/Time.h"
#include "Utils/Utils.h"
#include "broker/model/AdapterRules.h"

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

// The NDIS numbers of the physical media that are not what their interface type says.
constexpr std::uint32_t MEDIUM_WIRELESS_LAN = 1;
constexpr std::uint32_t MEDIUM_NATIVE_802_11 = 9;
constexpr std::uint32_t MEDIUM_BLUETOOTH = 10;

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

// The values of CIM_NetworkPort.LinkTechnology.
enum LinkTechnology : std::uint16_t
{
    TECHNOLOGY_OTHER = 1,
    TECHNOLOGY_ETHERNET = 2,
    TECHNOLOGY_INFINIBAND = 3,
    TECHNOLOGY_FIBRE_CHANNEL = 4,
    TECHNOLOGY_FDDI = 5,
    TECHNOLOGY_ATM = 6,
    TECHNOLOGY_TOKEN_RING = 7,
    TECHNOLOGY_FRAME_RELAY = 8,
    TECHNOLOGY_BLUETOOTH = 10,
    TECHNOLOGY_WIRELESS_LAN = 11
};

// Radios often present themselves to the protocols as Ethernet, so the medium is asked first.
std::uint16_t linkTechnology(const PortRow& row)
{
    switch (row.adapter.physicalMedium) {
        case MEDIUM_WIRELESS_LAN:
        case MEDIUM_NATIVE_802_11:
            return TECHNOLOGY_WIRELESS_LAN;
        case MEDIUM_BLUETOOTH:
            return TECHNOLOGY_BLUETOOTH;
        default:
            break;
    }
    switch (row.adapter.type) {
        case TYPE_ETHERNET:
            return TECHNOLOGY_ETHERNET;
        case TYPE_INFINIBAND:
            return TECHNOLOGY_INFINIBAND;
        case TYPE_FIBRE_CHANNEL:
            return TECHNOLOGY_FIBRE_CHANNEL;
        case TYPE_FDDI:
            return TECHNOLOGY_FDDI;
        case TYPE_ATM:
            return TECHNOLOGY_ATM;
        case TYPE_TOKEN_RING:
            return TECHNOLOGY_TOKEN_RING;
        case TYPE_FRAME_RELAY:
            return TECHNOLOGY_FRAME_RELAY;
        case TYPE_WIRELESS_LAN:
            return TECHNOLOGY_WIRELESS_LAN;
        default:
            return TECHNOLOGY_OTHER;
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

std::optional<std::uint64_t> receiveSpeed(const PortRow& row)
{
    return row.adapter.receiveSpeed;
}

bool hardwareInterface(const PortRow& row)
{
    return row.adapter.isHardware;
}
bool connectorPresent(const PortRow& row)
{
    return row.adapter.hasConnector;
}
std::uint32_t physicalMedium(const PortRow& row)
{
    return row.adapter.physicalMedium;
}

std::uint64_t mtu(const PortRow& row)
{
    return row.adapter.mtu;
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
            return hasLink(row.adapter) ? ENABLED : ENABLED_BUT_OFFLINE;
    }
}

// What was last asked for is what the platform holds as the administrative state.
std::uint16_t requestedState(const PortRow& row)
{
    constexpr std::uint16_t UNKNOWN = 0;
    constexpr std::uint16_t ENABLED = 2;
    constexpr std::uint16_t DISABLED = 3;
    constexpr std::uint16_t TEST = 7;
    switch (row.adapter.administrative) {
        case AdministrativeState::UP:
            return ENABLED;
        case AdministrativeState::DOWN:
            return DISABLED;
        case AdministrativeState::TESTING:
            return TEST;
        default:
            return UNKNOWN;
    }
}

std::uint16_t healthState(const PortRow& row)
{
    constexpr std::uint16_t UNKNOWN = 0;
    constexpr std::uint16_t OK = 5;
    // A port without a link may be perfectly healthy: nothing is known about it.
    return hasLink(row.adapter) ? OK : UNKNOWN;
}

// "No Contact" is not among them: it is for an element that could never be reached, and the platform reaches each
// adapter that it lists.
enum OperationalStatus : std::uint16_t
{
    STATUS_UNKNOWN = 0,
    STATUS_OK = 2,
    STATUS_STOPPED = 10,
    STATUS_IN_SERVICE = 11,
    STATUS_LOST_COMMUNICATION = 13,
    STATUS_DORMANT = 15,
    STATUS_SUPPORTING_ENTITY_IN_ERROR = 16
};

std::uint16_t primaryStatus(const Adapter& adapter)
{
    // Switched off, an adapter is stopped whatever else the platform says of it.
    if (adapter.administrative == AdministrativeState::DOWN) {
        return STATUS_STOPPED;
    }
    switch (adapter.operational) {
        case OperationalState::NOT_PRESENT:
            // The device was there when it was installed, and has been taken out.
            return STATUS_LOST_COMMUNICATION;
        case OperationalState::TESTING:
            return STATUS_IN_SERVICE;
        case OperationalState::LOWER_LAYER_DOWN:
            return STATUS_SUPPORTING_ENTITY_IN_ERROR;
        case OperationalState::DORMANT:
            return STATUS_DORMANT;
        case OperationalState::UP:
            return hasLink(adapter) ? STATUS_OK : STATUS_DORMANT;
        case OperationalState::DOWN:
            // Without its cable an adapter is inactive, not broken; why one with a cable is down is not known.
            return adapter.media == MediaState::DISCONNECTED ? STATUS_DORMANT : STATUS_UNKNOWN;
        default:
            return STATUS_UNKNOWN;
    }
}

std::vector<std::uint16_t> operationalStatus(const PortRow& row)
{
    return {primaryStatus(row.adapter)};
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
    column<&physicalMedium>("PhysicalMedium"),
    column<&hardwareInterface>("HardwareInterface"),
    column<&connectorPresent>("ConnectorPresent"),
    column<&interfaceIndex>("InterfaceIndex"),
    column<&speed>("Speed"),
    column<&receiveSpeed>("ReceiveLinkSpeed"),
    column<&mtu>("ActiveMaximumTransmissionUnit"),
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

// The counters of one direction, as far as the kinds of packets are concerned.
struct Direction
{
    std::uint64_t Counters::*bytes;
    std::uint64_t Counters::*nonUnicastPackets;
    std::uint64_t Counters::*unicastBytes;
    std::uint64_t Counters::*multicastBytes;
    std::uint64_t Counters::*broadcastBytes;
};

constexpr Direction RECEIVED{&Counters::bytesReceived, &Counters::nonUnicastPacketsReceived,
                             &Counters::unicastBytesReceived, &Counters::multicastBytesReceived,
                             &Counters::broadcastBytesReceived};
constexpr Direction TRANSMITTED{&Counters::bytesTransmitted, &Counters::nonUnicastPacketsTransmitted,
                                &Counters::unicastBytesTransmitted, &Counters::multicastBytesTransmitted,
                                &Counters::broadcastBytesTransmitted};

// A driver that counts bytes as a whole only leaves 0 for each kind, although bytes have moved.
bool countsKinds(const Counters& counters, const Direction& direction)
{
    return counters.*direction.bytes == 0 || counters.*direction.unicastBytes != 0 ||
           counters.*direction.multicastBytes != 0 || counters.*direction.broadcastBytes != 0;
}

template <const Direction& Of, std::uint64_t Counters::*Direction::*Kind>
std::optional<std::uint64_t> bytesOfKind(const StatisticsRow& row)
{
    const Counters& counters = row.adapter.counters;
    return countsKinds(counters, Of) ? std::make_optional(counters.*(Of.*Kind)) : std::nullopt;
}

// The platform counts the packets of both kinds together. Each is known where the bytes show that there were none of
// one kind.
template <const Direction& Of, std::uint64_t Counters::*Direction::*Kind, std::uint64_t Counters::*Direction::*Other>
std::optional<std::uint64_t> packetsOfKind(const StatisticsRow& row)
{
    const Counters& counters = row.adapter.counters;
    if (!countsKinds(counters, Of)) {
        return std::nullopt;
    }
    if (counters.*(Of.*Kind) == 0) {
        return 0;
    }
    return counters.*(Of.*Other) == 0 ? std::make_optional(counters.*Of.nonUnicastPackets) : std::nullopt;
}

template <const Direction& Of>
constexpr auto multicastPackets = &packetsOfKind<Of, &Direction::multicastBytes, &Direction::broadcastBytes>;
template <const Direction& Of>
constexpr auto broadcastPackets = &packetsOfKind<Of, &Direction::broadcastBytes, &Direction::multicastBytes>;

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
    counted<multicastPackets<RECEIVED>>("MulticastPacketsReceived"),
    counted<multicastPackets<TRANSMITTED>>("MulticastPacketsTransmitted"),
    counted<broadcastPackets<RECEIVED>>("BroadcastPacketsReceived"),
    counted<broadcastPackets<TRANSMITTED>>("BroadcastPacketsTransmitted"),
    counted<&bytesOfKind<RECEIVED, &Direction::unicastBytes>>("UnicastBytesReceived"),
    counted<&bytesOfKind<TRANSMITTED, &Direction::unicastBytes>>("UnicastBytesTransmitted"),
    counted<&bytesOfKind<RECEIVED, &Direction::multicastBytes>>("MulticastBytesReceived"),
    counted<&bytesOfKind<TRANSMITTED, &Direction::multicastBytes>>("MulticastBytesTransmitted"),
    counted<&bytesOfKind<RECEIVED, &Direction::broadcastBytes>>("BroadcastBytesReceived"),
    counted<&bytesOfKind<TRANSMITTED, &Direction::broadcastBytes>>("BroadcastBytesTransmitted"),
    counted<&counter<&Counters::unknownProtocolsReceived>>("UnknownProtocolPacketsReceived"),
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
