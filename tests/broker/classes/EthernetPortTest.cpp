#include "broker/ClassTest.h"

namespace {

using broker::Adapter;
using enum broker::OperationalState;
using Administrative = broker::AdministrativeState;
using broker::MediaState;

// A machine with one adapter, whose fields differ as given.
template <class... Changes>
auto with(const Changes&... changes)
{
    return fakes::only(fakes::adapter(4), &Adapter::transmitSpeed, 100, &Adapter::receiveSpeed, 300, changes...);
}

auto linked(broker::LinkDetails link, bool isHardware = true)
{
    return [link, isHardware](fakes::World& world) {
        with(&Adapter::isHardware, isHardware)(world);
        world.adapters.link = link;
    };
}

TEST(EthernetPortValues, Port_showsItsAdapter)
{
    constexpr auto OPERATIONAL = &Adapter::operational;
    constexpr auto ADMINISTRATIVE = &Adapter::administrative;
    constexpr auto MEDIA = &Adapter::media;
    const std::string infiniBand = "80000208FE800000000000000002C9030000283D";
    fakes::expectShown(
        "Zerix_EthernetPort",
        {{"a port that is up", with()},
         {"no address", with(&Adapter::hardwareAddress, "", &Adapter::permanentAddress, "")},
         {"an address of twenty bytes", with(&Adapter::hardwareAddress, infiniBand)},
         {"unknown transmit speed", with(&Adapter::transmitSpeed, std::nullopt)},
         {"unknown receive speed", with(&Adapter::receiveSpeed, std::nullopt)},
         {"unknown link", linked({})},
         {"half duplex", linked({std::nullopt, false})},
         {"no hardware, which has no limits", linked({1, true}, false)},
         {"no connector", with(&Adapter::hasConnector, false)},
         {"type 9, token ring", with(&Adapter::type, 9)},
         {"type 15, FDDI", with(&Adapter::type, 15)},
         {"type 32, frame relay", with(&Adapter::type, 32)},
         {"type 37, ATM", with(&Adapter::type, 37)},
         {"type 53, virtual", with(&Adapter::type, 53)},
         {"type 56, fibre channel", with(&Adapter::type, 56)},
         {"type 71, wireless", with(&Adapter::type, 71)},
         {"type 199, InfiniBand", with(&Adapter::type, 199)},
         {"medium 1, a wireless LAN that poses as Ethernet", with(&Adapter::physicalMedium, 1)},
         {"medium 9, a wireless LAN that poses as Ethernet", with(&Adapter::physicalMedium, 9)},
         {"medium 10, Bluetooth that poses as Ethernet", with(&Adapter::physicalMedium, 10)},
         {"down", with(OPERATIONAL, DOWN)},
         {"testing", with(OPERATIONAL, TESTING, ADMINISTRATIVE, Administrative::TESTING)},
         {"unknown state", with(OPERATIONAL, UNKNOWN)},
         {"dormant", with(OPERATIONAL, DORMANT)},
         {"not present", with(OPERATIONAL, NOT_PRESENT)},
         {"lower layer down", with(OPERATIONAL, LOWER_LAYER_DOWN)},
         {"states that do not exist",
          with(OPERATIONAL, broker::OperationalState{99}, ADMINISTRATIVE, Administrative{99})},
         {"switched off", with(OPERATIONAL, DOWN, ADMINISTRATIVE, Administrative::DOWN)},
         {"switched off and not present", with(OPERATIONAL, NOT_PRESENT, ADMINISTRATIVE, Administrative::DOWN)},
         {"switched off, lower layer down", with(OPERATIONAL, LOWER_LAYER_DOWN, ADMINISTRATIVE, Administrative::DOWN)},
         {"up without a carrier", with(MEDIA, MediaState::DISCONNECTED)},
         {"down without a carrier", with(OPERATIONAL, DOWN, MEDIA, MediaState::DISCONNECTED)},
         {"up, the medium is unknown", with(MEDIA, MediaState::UNKNOWN)}});
}

class EthernetPort : public fakes::ClassTest
{
protected:
    EthernetPort() : ClassTest("Zerix_EthernetPort") { m_world.adapters.set({fakes::adapter(4), fakes::adapter(5)}); }
};

TEST_F(EthernetPort, Link_isReadOnceForAnInstance)
{
    EXPECT_EQ(records().size(), 2U);
    EXPECT_EQ(m_world.adapters.linkReads, 2);
    const std::string path = records()[1].instance->toPathString();
    m_workspace.begin("Zerix_EthernetPort");
    m_world.adapters.linkReads = 0;
    EXPECT_NE(m_workspace.find(core::CimPath(path)), nullptr);
    EXPECT_EQ(m_world.adapters.linkReads, 1) << "the link of that port alone";
}

TEST_F(EthernetPort, Link_thatIsNotShown_isNotRead)
{
    m_workspace.begin("Zerix_ElementConformsToProfile");
    EXPECT_EQ(m_workspace.instances("Zerix_ElementConformsToProfile")->records().size(), 2U);
    EXPECT_EQ(m_world.adapters.linkReads, 0);
    m_world.adapters.set({fakes::adapter(4), Adapter{}});
    EXPECT_EQ(records().size(), 2U);
    EXPECT_EQ(m_world.adapters.linkReads, 1) << "without hardware there is no link";
}

TEST_F(EthernetPort, RenamedAdapter_staysItsInstance)
{
    const core::CimInstance* before = &instance();
    Adapter renamed = fakes::adapter(4);
    renamed.name = "uplink";
    m_world.adapters.set({renamed, fakes::adapter(5)});
    EXPECT_EQ(&instance(), before);
    EXPECT_EQ(value("Name"), "uplink");
}

}  // namespace
