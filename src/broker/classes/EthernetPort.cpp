#include <array>

#include "Utils/Exception.h"
#include "Utils/Utils.h"
#include "broker/classes/ClassNames.h"
#include "broker/classes/Rows.h"
#include "broker/classes/ServedClasses.h"
#include "broker/model/AdapterRules.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

// Refers to data that the workspace has read for the request.
struct Row
{
    const Adapter& adapter;
    const std::string& systemName;
    SettingsStore& settings;
    AdapterSource& adapters;
    // Empty until a column asks: it takes a call for each adapter, and a reference to a port does without.
    mutable std::optional<LinkDetails> link = std::nullopt;
};

std::vector<Row> rows(Workspace& workspace)
{
    return rowsOf(workspace.adapters(), [&](const Adapter& adapter) {
        return Row{adapter, workspace.systemName(), workspace.sources().settings, workspace.sources().adapters};
    });
}

// The adapter's GUID.
std::string id(const Row& row)
{
    return row.adapter.guid;
}

// The IANA numbers of interface types.
constexpr std::uint32_t TYPE_ETHERNET = 6;
constexpr std::uint32_t TYPE_TOKEN_RING = 9;
constexpr std::uint32_t TYPE_FDDI = 15;
constexpr std::uint32_t TYPE_FRAME_RELAY = 32;
constexpr std::uint32_t TYPE_ATM = 37;
constexpr std::uint32_t TYPE_FIBRE_CHANNEL = 56;
constexpr std::uint32_t TYPE_WIRELESS_LAN = 71;
constexpr std::uint32_t TYPE_INFINIBAND = 199;

// The NDIS numbers of the physical media whose interface type is misleading.
constexpr std::uint32_t MEDIUM_WIRELESS_LAN = 1;
constexpr std::uint32_t MEDIUM_NATIVE_802_11 = 9;
constexpr std::uint32_t MEDIUM_BLUETOOTH = 10;

std::optional<std::string> known(const std::string& text)
{
    return text.empty() ? std::nullopt : std::make_optional(text);
}

const char* systemClassName(const Row& /*row*/)
{
    return COMPUTER_SYSTEM;
}
const std::string& systemName(const Row& row)
{
    return row.systemName;
}
const char* className(const Row& /*row*/)
{
    return ETHERNET_PORT;
}
const std::string& deviceId(const Row& row)
{
    return row.adapter.guid;
}
const std::string& name(const Row& row)
{
    return row.adapter.name;
}

// The administrator's label for the adapter, or else its own name. It is read here and not with the row, since a
// reference to a port does not need it.
std::string elementName(const Row& row)
{
    try {
        return row.settings.adapterSetting(row.adapter.guid).elementName.value_or(row.adapter.name);
    } catch (const utils::EFailed&) {
        // The failure has been logged. A port is shown even without its label.
        return row.adapter.name;
    }
}

const std::string& description(const Row& row)
{
    return row.adapter.description;
}
std::optional<std::string> permanentAddress(const Row& row)
{
    return known(row.adapter.permanentAddress);
}

std::vector<std::string> networkAddresses(const Row& row)
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

// Radios often present themselves as Ethernet, so the medium is examined first.
std::uint16_t linkTechnology(const Row& row)
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

std::uint32_t interfaceIndex(const Row& row)
{
    return row.adapter.index;
}
std::optional<std::uint64_t> speed(const Row& row)
{
    return row.adapter.transmitSpeed;
}

std::optional<std::uint64_t> receiveSpeed(const Row& row)
{
    return row.adapter.receiveSpeed;
}

// Only hardware has limits; what the driver of a virtual adapter gives for one is invented.
const LinkDetails& link(const Row& row)
{
    if (!row.link) {
        row.link = row.adapter.isHardware ? row.adapters.readLinkDetails(row.adapter) : LinkDetails();
    }
    return *row.link;
}

std::optional<std::uint64_t> maxSpeed(const Row& row)
{
    return link(row).maxSpeed;
}

std::optional<bool> fullDuplex(const Row& row)
{
    return link(row).isFullDuplex;
}

bool hardwareInterface(const Row& row)
{
    return row.adapter.isHardware;
}
bool connectorPresent(const Row& row)
{
    return row.adapter.hasConnector;
}
std::uint32_t physicalMedium(const Row& row)
{
    return row.adapter.physicalMedium;
}

std::uint64_t mtu(const Row& row)
{
    return row.adapter.mtu;
}

std::uint16_t enabledState(const Row& row)
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

// The platform's administrative state is the state that was requested last.
std::uint16_t requestedState(const Row& row)
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

std::uint16_t healthState(const Row& row)
{
    constexpr std::uint16_t UNKNOWN = 0;
    constexpr std::uint16_t OK = 5;
    // A port without a link may be healthy, so its health is unknown.
    return hasLink(row.adapter) ? OK : UNKNOWN;
}

// "No Contact" is missing: it is for an element that was never reached, and the platform reaches every adapter that it
// lists.
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
    // A disabled adapter is Stopped even if it has also been removed.
    if (adapter.administrative == AdministrativeState::DOWN) {
        return STATUS_STOPPED;
    }
    switch (adapter.operational) {
        case OperationalState::NOT_PRESENT:
            // The device has been removed since its installation.
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
            // An adapter without its cable is dormant. The reason why one with a cable is down is unknown.
            return adapter.media == MediaState::DISCONNECTED ? STATUS_DORMANT : STATUS_UNKNOWN;
        default:
            return STATUS_UNKNOWN;
    }
}

std::vector<std::uint16_t> operationalStatus(const Row& row)
{
    return {primaryStatus(row.adapter)};
}

std::vector<std::string> otherIdentifyingInfo(const Row& row)
{
    std::vector<std::string> result = networkAddresses(row);
    result.push_back(utils::format("0x%llX", static_cast<unsigned long long>(row.adapter.luid)));
    return result;
}

// What each text of OtherIdentifyingInfo is, in its order.
const std::vector<std::string>& identifyingDescriptions(const Row& row)
{
    static const std::vector<std::string> withAddress{"Hardware Address", "Interface LUID"};
    static const std::vector<std::string> withoutAddress{"Interface LUID"};
    return row.adapter.hardwareAddress.empty() ? withoutAddress : withAddress;
}

constexpr std::array columns{
    keyWithoutCase<&systemClassName>("SystemCreationClassName"),
    keyWithoutCase<&systemName>("SystemName"),
    keyWithoutCase<&className>("CreationClassName"),
    keyWithoutCase<&deviceId>("DeviceID"),
    column<&name>("Name"),
    column<&elementName>("ElementName"),
    column<&description>("Caption"),
    column<&description>("Description"),
    column<&permanentAddress>("PermanentAddress"),
    column<&networkAddresses>("NetworkAddresses"),
    column<&linkTechnology>("LinkTechnology"),
    column<&physicalMedium>("PhysicalMedium"),
    column<&hardwareInterface>("HardwareInterface"),
    column<&connectorPresent>("ConnectorPresent"),
    column<&interfaceIndex>("InterfaceIndex"),
    column<&speed>("Speed"),
    column<&receiveSpeed>("ReceiveLinkSpeed"),
    column<&maxSpeed>("MaxSpeed"),
    column<&fullDuplex>("FullDuplex"),
    column<&mtu>("ActiveMaximumTransmissionUnit"),
    column<&enabledState>("EnabledState"),
    column<&requestedState>("RequestedState"),
    column<&healthState>("HealthState"),
    column<&operationalStatus>("OperationalStatus"),
    column<&otherIdentifyingInfo>("OtherIdentifyingInfo"),
    column<&identifyingDescriptions>("IdentifyingDescriptions"),
};

constexpr ClassDescription<Row> definition{.name = ETHERNET_PORT, .columns = columns, .id = &id, .rows = &rows};

}  // namespace

const ServedClass ethernetPort = serve<definition>();

}  // namespace broker
