#include <array>

#include "broker/classes/ClassNames.h"
#include "broker/classes/Rows.h"
#include "broker/classes/ServedClasses.h"
#include "broker/classes/Times.h"
#include "broker/model/Workspace.h"

namespace broker {

namespace {

struct Row
{
    // Among the adapters that the workspace has read for the request.
    const Adapter& adapter;
    // When the counters were read.
    WallTime time;
};

std::vector<Row> rows(Workspace& workspace)
{
    const std::vector<Adapter>& adapters = workspace.adapters();
    const WallTime now = workspace.sources().machine.now();
    return rowsOf(adapters, [now](const Adapter& adapter) { return Row{adapter, now}; });
}

// The adapter's GUID.
std::string id(const Row& row)
{
    return row.adapter.guid;
}

template <std::uint64_t Counters::*Counter>
std::uint64_t counter(const Row& row)
{
    return row.adapter.counters.*Counter;
}

template <std::uint64_t Counters::*First, std::uint64_t Counters::*Second>
std::uint64_t sum(const Row& row)
{
    return row.adapter.counters.*First + row.adapter.counters.*Second;
}

// The counters of one direction that differ by kind of packet.
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

// Whether the driver counts bytes by kind. A driver that does not leaves 0 for each kind although bytes have moved.
bool countsKinds(const Counters& counters, const Direction& direction)
{
    return counters.*direction.bytes == 0 || counters.*direction.unicastBytes != 0 ||
           counters.*direction.multicastBytes != 0 || counters.*direction.broadcastBytes != 0;
}

template <const Direction& Of, std::uint64_t Counters::*Direction::*Kind>
std::optional<std::uint64_t> bytesOfKind(const Row& row)
{
    const Counters& counters = row.adapter.counters;
    return countsKinds(counters, Of) ? std::make_optional(counters.*(Of.*Kind)) : std::nullopt;
}

// The platform counts multicast and broadcast packets together. The number of each kind is known if the bytes show that
// there were no packets of the other kind.
template <const Direction& Of, std::uint64_t Counters::*Direction::*Kind, std::uint64_t Counters::*Direction::*Other>
std::optional<std::uint64_t> packetsOfKind(const Row& row)
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

std::string instanceId(const Row& row)
{
    return "Vexal:PortStatistics:" + row.adapter.guid;
}
utils::Time statisticTime(const Row& row)
{
    return timestamp(row.time);
}

template <auto Read>
constexpr auto counted(const char* name)
{
    return column<Read>(name, PutRule::VOLATILE);
}

constexpr std::array columns{
    key<&instanceId>("InstanceID"),
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

constexpr ClassDescription<Row> definition{
    .name = ETHERNET_PORT_STATISTICS, .columns = columns, .id = &id, .rows = &rows};

}  // namespace

const ServedClass ethernetPortStatistics = serve<definition>();

}  // namespace broker
