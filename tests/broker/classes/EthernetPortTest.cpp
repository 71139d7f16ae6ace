#include "broker/classes/PortClasses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "broker/Fakes.h"
#include "broker/Properties.h"

namespace {

using broker::AdministrativeState;
using broker::OperationalState;
using testing::ElementsAre;

const std::string SYSTEM = "HOST";

class PortClasses : public testing::Test
{
protected:
    core::CimInstance& port()
    {
        m_ports.refresh({{m_adapter, SYSTEM}});
        return *m_ports.records()[0].instance;
    }

    std::string value(const std::string& name) { return support::value(port(), name); }

    std::vector<std::string> statistics()
    {
        m_statistics.refresh({{m_adapter, 1'700'000'000'000'000}});
        return support::values(*m_statistics.records()[0].instance);
    }

    std::string statistic(const std::string& name)
    {
        m_statistics.refresh({{m_adapter, 1}});
        return support::value(*m_statistics.records()[0].instance, name);
    }

    std::string status(OperationalState operational, AdministrativeState administrative)
    {
        m_adapter.operational = operational;
        m_adapter.administrative = administrative;
        return value("OperationalStatus") + " " + value("EnabledState") + " " + value("RequestedState") + " " +
               value("HealthState");
    }

    broker::Adapter m_adapter = fakes::adapter(4);
    broker::DescribedStore<broker::PortRow> m_ports{broker::ethernetPortClass};
    broker::DescribedStore<broker::StatisticsRow> m_statistics{broker::ethernetPortStatisticsClass};
};

TEST_F(PortClasses, PortShowsTheAdapter)
{
    m_adapter.transmitSpeed = 100;
    m_adapter.receiveSpeed = 300;
    EXPECT_THAT(support::values(port()),
                ElementsAre("SystemCreationClassName=Win32_ComputerSystem", "SystemName=HOST",
                            "CreationClassName=Zerix_EthernetPort", "DeviceID={00000004-0000-0000-0000-000000000000}",
                            "Name=eth4", "ElementName=eth4", "Caption=Adapter 4", "Description=Adapter 4",
                            "PermanentAddress=02FC00000004", "NetworkAddresses={02FC00000004}", "LinkTechnology=2",
                            "PortType=0", "PhysicalMedium=14", "HardwareInterface=true", "ConnectorPresent=true",
                            "InterfaceIndex=4", "Speed=100", "ReceiveLinkSpeed=300",
                            "ActiveMaximumTransmissionUnit=1500", "EnabledState=2", "RequestedState=2", "HealthState=5",
                            "OperationalStatus={2}", "OtherIdentifyingInfo={02FC00000004, 0x6000000000004}",
                            "IdentifyingDescriptions={Hardware Address, Interface LUID}"));
    EXPECT_EQ(port().toPathString(),
              "Zerix_EthernetPort.SystemCreationClassName=\"Win32_ComputerSystem\",SystemName=\"HOST\","
              "CreationClassName=\"Zerix_EthernetPort\",DeviceID=\"{00000004-0000-0000-0000-000000000000}\"");
}

TEST_F(PortClasses, PortWithoutHardwareAddressHasNullForIt)
{
    m_adapter.hardwareAddress.clear();
    m_adapter.permanentAddress.clear();
    EXPECT_EQ(value("PermanentAddress"), "null");
    EXPECT_EQ(value("NetworkAddresses"), "null");
    EXPECT_EQ(value("OtherIdentifyingInfo"), "{0x6000000000004}");
    EXPECT_EQ(value("IdentifyingDescriptions"), "{Interface LUID}");
}

TEST_F(PortClasses, UnknownSpeedIsNull)
{
    m_adapter.transmitSpeed.reset();
    EXPECT_EQ(value("Speed"), "null");
    EXPECT_EQ(value("ReceiveLinkSpeed"), "1000000000");
    m_adapter.receiveSpeed.reset();
    EXPECT_EQ(value("ReceiveLinkSpeed"), "null");
}

TEST_F(PortClasses, LinkTechnologyFollowsTheInterfaceType)
{
    const auto technology = [this](std::uint32_t type) {
        m_adapter.type = type;
        return value("LinkTechnology") + " " + value("PortType");
    };
    EXPECT_EQ(technology(6), "2 0");
    EXPECT_EQ(technology(9), "7 1");
    EXPECT_EQ(technology(15), "5 1");
    EXPECT_EQ(technology(32), "8 1");
    EXPECT_EQ(technology(37), "6 1");
    EXPECT_EQ(technology(56), "4 1");
    EXPECT_EQ(technology(71), "11 1");
    EXPECT_EQ(technology(199), "3 1");
    EXPECT_EQ(technology(53), "1 1");
}

TEST_F(PortClasses, Radio_thatPosesAsEthernet_isARadio)
{
    const auto technology = [this](std::uint32_t medium) {
        m_adapter.physicalMedium = medium;
        return value("LinkTechnology");
    };
    EXPECT_EQ(technology(1), "11");
    EXPECT_EQ(technology(9), "11");
    EXPECT_EQ(technology(10), "10");
}

TEST_F(PortClasses, Address_ofTwentyBytes_isShownWhole)
{
    m_adapter.hardwareAddress = "80000208FE800000000000000002C9030000283D";
    EXPECT_EQ(value("NetworkAddresses"), "{80000208FE800000000000000002C9030000283D}");
}

TEST_F(PortClasses, Adapter_withoutDevice_saysSo)
{
    m_adapter.isHardware = false;
    m_adapter.hasConnector = false;
    EXPECT_EQ(value("HardwareInterface") + " " + value("ConnectorPresent"), "false false");
}

TEST_F(PortClasses, StatesFollowThePlatformsStates)
{
    EXPECT_EQ(status(OperationalState::UP, AdministrativeState::UP), "{2} 2 2 5");
    EXPECT_EQ(status(OperationalState::DOWN, AdministrativeState::UP), "{0} 6 2 0");
    EXPECT_EQ(status(OperationalState::TESTING, AdministrativeState::TESTING), "{11} 7 7 0");
    EXPECT_EQ(status(OperationalState::UNKNOWN, AdministrativeState::UP), "{0} 6 2 0");
    EXPECT_EQ(status(OperationalState::DORMANT, AdministrativeState::UP), "{15} 6 2 0");
    EXPECT_EQ(status(OperationalState::NOT_PRESENT, AdministrativeState::UP), "{13} 6 2 0");
    EXPECT_EQ(status(OperationalState::LOWER_LAYER_DOWN, AdministrativeState::UP), "{16} 6 2 0");
    EXPECT_EQ(status(static_cast<OperationalState>(99), static_cast<AdministrativeState>(99)), "{0} 6 0 0");
}

TEST_F(PortClasses, SwitchedOff_isStopped_presentOrNot)
{
    EXPECT_EQ(status(OperationalState::DOWN, AdministrativeState::DOWN), "{10} 3 3 0");
    EXPECT_EQ(status(OperationalState::NOT_PRESENT, AdministrativeState::DOWN), "{10} 3 3 0");
    EXPECT_EQ(status(OperationalState::LOWER_LAYER_DOWN, AdministrativeState::DOWN), "{10} 3 3 0");
}

TEST_F(PortClasses, WithoutCarrier_isOffline)
{
    m_adapter.media = broker::MediaState::DISCONNECTED;
    EXPECT_EQ(status(OperationalState::UP, AdministrativeState::UP), "{15} 6 2 0");
    EXPECT_EQ(status(OperationalState::DOWN, AdministrativeState::UP), "{15} 6 2 0");
}

TEST_F(PortClasses, UnknownMedium_isNoReasonToBeOffline)
{
    m_adapter.media = broker::MediaState::UNKNOWN;
    EXPECT_EQ(status(OperationalState::UP, AdministrativeState::UP), "{2} 2 2 5");
}

TEST_F(PortClasses, StatisticsShowTheCounters)
{
    m_adapter.counters = {1, 20, 300, 4000, 50000, 600000, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17};
    EXPECT_THAT(
        statistics(),
        ElementsAre("InstanceID=Vexal:PortStatistics:{00000004-0000-0000-0000-000000000000}", "BytesTotal=21",
                    "BytesReceived=1", "BytesTransmitted=20", "PacketsReceived=50300", "PacketsTransmitted=604000",
                    "UnicastPacketsReceived=300", "UnicastPacketsTransmitted=4000", "MulticastPacketsReceived=null",
                    "MulticastPacketsTransmitted=null", "BroadcastPacketsReceived=null",
                    "BroadcastPacketsTransmitted=null", "UnicastBytesReceived=12", "UnicastBytesTransmitted=13",
                    "MulticastBytesReceived=14", "MulticastBytesTransmitted=15", "BroadcastBytesReceived=16",
                    "BroadcastBytesTransmitted=17", "UnknownProtocolPacketsReceived=11", "TotalRxErrors=7",
                    "TotalTxErrors=8", "RxDiscards=9", "TxDiscards=10", "StatisticTime=at 1700000000000000"));
}

TEST_F(PortClasses, Kinds_thatAreNotCounted_areNull)
{
    m_adapter.counters = {};
    m_adapter.counters.bytesReceived = 1;
    m_adapter.counters.bytesTransmitted = 1;
    for (const char* direction : {"Received", "Transmitted"}) {
        EXPECT_EQ(statistic(std::string("UnicastBytes") + direction), "null");
        EXPECT_EQ(statistic(std::string("MulticastBytes") + direction), "null");
        EXPECT_EQ(statistic(std::string("BroadcastBytes") + direction), "null");
        EXPECT_EQ(statistic(std::string("MulticastPackets") + direction), "null");
        EXPECT_EQ(statistic(std::string("BroadcastPackets") + direction), "null");
    }
}

TEST_F(PortClasses, Kinds_beforeAnythingMoved_areZero)
{
    m_adapter.counters = {};
    EXPECT_EQ(statistic("BroadcastBytesReceived"), "0");
    EXPECT_EQ(statistic("MulticastPacketsReceived"), "0");
    EXPECT_EQ(statistic("BroadcastPacketsTransmitted"), "0");
}

TEST_F(PortClasses, OneKind_thatNeverCame_provesTheOther)
{
    m_adapter.counters = {};
    m_adapter.counters.bytesReceived = 100;
    m_adapter.counters.broadcastBytesReceived = 100;
    m_adapter.counters.nonUnicastPacketsReceived = 2;
    EXPECT_EQ(statistic("MulticastPacketsReceived"), "0");
    EXPECT_EQ(statistic("BroadcastPacketsReceived"), "2");
    std::swap(m_adapter.counters.broadcastBytesReceived, m_adapter.counters.multicastBytesReceived);
    EXPECT_EQ(statistic("MulticastPacketsReceived"), "2");
    EXPECT_EQ(statistic("BroadcastPacketsReceived"), "0");
}

TEST_F(PortClasses, AdaptersOfOneAddressAreTwoPorts)
{
    broker::Adapter twin = m_adapter;
    twin.guid = fakes::adapter(5).guid;
    m_ports.refresh({{m_adapter, SYSTEM}, {twin, SYSTEM}});
    ASSERT_EQ(m_ports.records().size(), 2U);
    EXPECT_NE(m_ports.records()[0].instance->toPathString(), m_ports.records()[1].instance->toPathString());
}

TEST_F(PortClasses, RenamedAdapterStaysItsInstance)
{
    const core::CimInstance* before = &port();
    m_adapter.name = "uplink";
    EXPECT_EQ(&port(), before);
    EXPECT_EQ(value("Name"), "uplink");
}

}  // namespace
