#include "broker/ClassTest.h"

namespace {

using broker::AdministrativeState;
using broker::OperationalState;
using testing::ElementsAre;

class EthernetPort : public fakes::ClassTest
{
protected:
    EthernetPort() : ClassTest("Zerix_EthernetPort") {}

    core::CimInstance& port()
    {
        m_world.adapters.set({m_adapter});
        return instance();
    }

    std::string value(const std::string& name) { return support::value(port(), name); }

    std::string status(OperationalState operational, AdministrativeState administrative)
    {
        m_adapter.operational = operational;
        m_adapter.administrative = administrative;
        return value("OperationalStatus") + " " + value("EnabledState") + " " + value("RequestedState") + " " +
               value("HealthState");
    }

    broker::Adapter m_adapter = fakes::adapter(4);
};

TEST_F(EthernetPort, Port_showsTheAdapter)
{
    m_adapter.transmitSpeed = 100;
    m_adapter.receiveSpeed = 300;
    EXPECT_THAT(support::values(port()),
                ElementsAre("SystemCreationClassName=Win32_ComputerSystem", "SystemName=HOST",
                            "CreationClassName=Zerix_EthernetPort", "DeviceID={00000004-0000-0000-0000-000000000000}",
                            "Name=eth4", "ElementName=eth4", "Caption=Adapter 4", "Description=Adapter 4",
                            "PermanentAddress=02FC00000004", "NetworkAddresses={02FC00000004}", "LinkTechnology=2",
                            "PhysicalMedium=14", "HardwareInterface=true", "ConnectorPresent=true", "InterfaceIndex=4",
                            "Speed=100", "ReceiveLinkSpeed=300", "MaxSpeed=10000000000", "FullDuplex=true",
                            "ActiveMaximumTransmissionUnit=1500", "EnabledState=2", "RequestedState=2", "HealthState=5",
                            "OperationalStatus={2}", "OtherIdentifyingInfo={02FC00000004, 0x6000000000004}",
                            "IdentifyingDescriptions={Hardware Address, Interface LUID}"));
    EXPECT_EQ(port().toPathString(),
              "Zerix_EthernetPort.SystemCreationClassName=\"Win32_ComputerSystem\",SystemName=\"HOST\","
              "CreationClassName=\"Zerix_EthernetPort\",DeviceID=\"{00000004-0000-0000-0000-000000000000}\"");
}

TEST_F(EthernetPort, AddressThatIsMissing_isNull)
{
    m_adapter.hardwareAddress.clear();
    m_adapter.permanentAddress.clear();
    EXPECT_EQ(value("PermanentAddress"), "null");
    EXPECT_EQ(value("NetworkAddresses"), "null");
    EXPECT_EQ(value("OtherIdentifyingInfo"), "{0x6000000000004}");
    EXPECT_EQ(value("IdentifyingDescriptions"), "{Interface LUID}");
}

TEST_F(EthernetPort, UnknownSpeed_isNull)
{
    m_adapter.transmitSpeed.reset();
    EXPECT_EQ(value("Speed"), "null");
    EXPECT_EQ(value("ReceiveLinkSpeed"), "1000000000");
    m_adapter.receiveSpeed.reset();
    EXPECT_EQ(value("ReceiveLinkSpeed"), "null");
}

TEST_F(EthernetPort, LimitThatNobodyKnows_isNull)
{
    m_world.adapters.link = {};
    EXPECT_EQ(value("MaxSpeed") + " " + value("FullDuplex"), "null null");
    m_world.adapters.link = {std::nullopt, false};
    EXPECT_EQ(value("MaxSpeed") + " " + value("FullDuplex"), "null false");
}

TEST_F(EthernetPort, AdapterWithoutHardware_hasNoLimit)
{
    m_adapter.isHardware = false;
    EXPECT_EQ(value("MaxSpeed") + " " + value("FullDuplex"), "null null");
    EXPECT_EQ(m_world.adapters.linkReads, 0);
}

TEST_F(EthernetPort, Link_isReadOnceForAnInstance)
{
    port();
    EXPECT_EQ(m_world.adapters.linkReads, 1);
}

TEST_F(EthernetPort, Get_readsTheLinkOfItsAdapterOnly)
{
    m_world.adapters.set({fakes::adapter(1), fakes::adapter(2), fakes::adapter(3)});
    m_workspace.begin("Zerix_EthernetPort");
    const std::string path = m_workspace.instances("Zerix_EthernetPort")->records()[1].instance->toPathString();
    m_world.adapters.linkReads = 0;
    m_workspace.begin("Zerix_EthernetPort");
    EXPECT_NE(m_workspace.find(core::CimPath(path)), nullptr);
    EXPECT_EQ(m_world.adapters.linkReads, 1);
}

TEST_F(EthernetPort, ReferenceToAPort_readsNoLink)
{
    m_world.adapters.set({m_adapter});
    m_workspace.begin("Zerix_ElementConformsToProfile");
    EXPECT_EQ(m_workspace.instances("Zerix_ElementConformsToProfile")->records().size(), 1U);
    EXPECT_EQ(m_world.adapters.linkReads, 0);
}

TEST_F(EthernetPort, LinkTechnology_followsTheInterfaceType)
{
    const auto technology = [this](std::uint32_t type) {
        m_adapter.type = type;
        return value("LinkTechnology");
    };
    EXPECT_EQ(technology(6), "2");
    EXPECT_EQ(technology(9), "7");
    EXPECT_EQ(technology(15), "5");
    EXPECT_EQ(technology(32), "8");
    EXPECT_EQ(technology(37), "6");
    EXPECT_EQ(technology(56), "4");
    EXPECT_EQ(technology(71), "11");
    EXPECT_EQ(technology(199), "3");
    EXPECT_EQ(technology(53), "1");
}

TEST_F(EthernetPort, Radio_thatPosesAsEthernet_isARadio)
{
    const auto technology = [this](std::uint32_t medium) {
        m_adapter.physicalMedium = medium;
        return value("LinkTechnology");
    };
    EXPECT_EQ(technology(1), "11");
    EXPECT_EQ(technology(9), "11");
    EXPECT_EQ(technology(10), "10");
}

TEST_F(EthernetPort, Address_ofTwentyBytes_isShownWhole)
{
    m_adapter.hardwareAddress = "80000208FE800000000000000002C9030000283D";
    EXPECT_EQ(value("NetworkAddresses"), "{80000208FE800000000000000002C9030000283D}");
}

TEST_F(EthernetPort, Adapter_withoutDevice_saysSo)
{
    m_adapter.isHardware = false;
    m_adapter.hasConnector = false;
    EXPECT_EQ(value("HardwareInterface") + " " + value("ConnectorPresent"), "false false");
}

TEST_F(EthernetPort, States_followThePlatforms)
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

TEST_F(EthernetPort, SwitchedOff_isStopped_presentOrNot)
{
    EXPECT_EQ(status(OperationalState::DOWN, AdministrativeState::DOWN), "{10} 3 3 0");
    EXPECT_EQ(status(OperationalState::NOT_PRESENT, AdministrativeState::DOWN), "{10} 3 3 0");
    EXPECT_EQ(status(OperationalState::LOWER_LAYER_DOWN, AdministrativeState::DOWN), "{10} 3 3 0");
}

TEST_F(EthernetPort, WithoutCarrier_isOffline)
{
    m_adapter.media = broker::MediaState::DISCONNECTED;
    EXPECT_EQ(status(OperationalState::UP, AdministrativeState::UP), "{15} 6 2 0");
    EXPECT_EQ(status(OperationalState::DOWN, AdministrativeState::UP), "{15} 6 2 0");
}

TEST_F(EthernetPort, UnknownMedium_isNoReasonToBeOffline)
{
    m_adapter.media = broker::MediaState::UNKNOWN;
    EXPECT_EQ(status(OperationalState::UP, AdministrativeState::UP), "{2} 2 2 5");
}

TEST_F(EthernetPort, AdaptersOfOneAddress_areTwoPorts)
{
    broker::Adapter twin = m_adapter;
    twin.guid = fakes::adapter(5).guid;
    m_world.adapters.set({m_adapter, twin});
    ASSERT_EQ(records().size(), 2U);
    EXPECT_NE(records()[0].instance->toPathString(), records()[1].instance->toPathString());
}

TEST_F(EthernetPort, RenamedAdapter_staysItsInstance)
{
    const core::CimInstance* before = &port();
    m_adapter.name = "uplink";
    EXPECT_EQ(&port(), before);
    EXPECT_EQ(value("Name"), "uplink");
}

}  // namespace
