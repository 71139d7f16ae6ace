#include "broker/ClassTest.h"

namespace {

using broker::AddressFamily;
using broker::AddressOrigin;
using testing::ElementsAre;

class IPProtocolEndpoint : public fakes::ClassTest
{
protected:
    IPProtocolEndpoint() : ClassTest("Zerix_IPProtocolEndpoint") {}

    core::CimInstance& endpoint(const broker::Address& address)
    {
        m_world.adapters.set({address});
        return instance();
    }

    std::string mask(std::optional<std::uint8_t> prefixLength)
    {
        broker::Address address = fakes::address(4, "192.0.2.2");
        address.prefixLength = prefixLength;
        return support::value(endpoint(address), "SubnetMask");
    }

    std::string origin(AddressFamily family, AddressOrigin origin)
    {
        broker::Address address = fakes::address(4, "any", family);
        address.origin = origin;
        address.isDhcpOn = m_isDhcpOn;
        address.isLinkLocal = m_isLinkLocal;
        return support::value(endpoint(address), "AddressOrigin");
    }

    bool m_isDhcpOn = false;
    bool m_isLinkLocal = false;
};

TEST_F(IPProtocolEndpoint, Ipv4_showsTheAddress)
{
    EXPECT_THAT(support::values(endpoint(fakes::address(4, "192.0.2.2"))),
                ElementsAre("SystemCreationClassName=Win32_ComputerSystem", "SystemName=HOST",
                            "CreationClassName=Zerix_IPProtocolEndpoint",
                            "Name={00000004-0000-0000-0000-000000000000}:192.0.2.2", "IPv4Address=192.0.2.2",
                            "IPv6Address=null", "SubnetMask=255.255.255.0", "PrefixLength=24", "ProtocolIFType=4096",
                            "AddressOrigin=3"));
}

TEST_F(IPProtocolEndpoint, Ipv6_hasNoMask)
{
    EXPECT_THAT(
        support::values(endpoint(fakes::address(4, "fd00::2", AddressFamily::IPV6))),
        ElementsAre("SystemCreationClassName=Win32_ComputerSystem", "SystemName=HOST",
                    "CreationClassName=Zerix_IPProtocolEndpoint", "Name={00000004-0000-0000-0000-000000000000}:fd00::2",
                    "IPv4Address=null", "IPv6Address=fd00::2", "SubnetMask=null", "PrefixLength=64",
                    "ProtocolIFType=4097", "AddressOrigin=3"));
}

TEST_F(IPProtocolEndpoint, Mask_followsThePrefixLength)
{
    EXPECT_EQ(mask(0), "0.0.0.0");
    EXPECT_EQ(mask(1), "128.0.0.0");
    EXPECT_EQ(mask(9), "255.128.0.0");
    EXPECT_EQ(mask(31), "255.255.255.254");
    EXPECT_EQ(mask(32), "255.255.255.255");
}

TEST_F(IPProtocolEndpoint, UnknownPrefix_isNull)
{
    broker::Address address = fakes::address(4, "192.0.2.2");
    address.prefixLength.reset();
    EXPECT_EQ(support::value(endpoint(address), "PrefixLength"), "null");
    EXPECT_EQ(support::value(endpoint(address), "SubnetMask"), "null");
}

TEST_F(IPProtocolEndpoint, Origin_followsThePlatforms)
{
    m_isDhcpOn = true;
    EXPECT_EQ(origin(AddressFamily::IPV4, AddressOrigin::UNKNOWN), "0");
    EXPECT_EQ(origin(AddressFamily::IPV4, AddressOrigin::OTHER), "1");
    EXPECT_EQ(origin(AddressFamily::IPV4, AddressOrigin::WELL_KNOWN), "1");
    EXPECT_EQ(origin(AddressFamily::IPV4, AddressOrigin::MANUAL), "3");
    EXPECT_EQ(origin(AddressFamily::IPV4, AddressOrigin::DHCP), "4");
    EXPECT_EQ(origin(AddressFamily::IPV6, AddressOrigin::MANUAL), "3");
    EXPECT_EQ(origin(AddressFamily::IPV6, AddressOrigin::WELL_KNOWN), "1");
    EXPECT_EQ(origin(AddressFamily::IPV6, AddressOrigin::DHCP), "7");
    EXPECT_EQ(origin(AddressFamily::IPV6, AddressOrigin::ROUTER_ADVERTISEMENT), "8");
}

TEST_F(IPProtocolEndpoint, Origin_dhcpThatIsOff_isUnknown)
{
    EXPECT_EQ(origin(AddressFamily::IPV4, AddressOrigin::DHCP), "0");
    EXPECT_EQ(origin(AddressFamily::IPV6, AddressOrigin::DHCP), "0");
}

TEST_F(IPProtocolEndpoint, Origin_routerOfIpv4_isUnknown)
{
    EXPECT_EQ(origin(AddressFamily::IPV4, AddressOrigin::ROUTER_ADVERTISEMENT), "0");
}

TEST_F(IPProtocolEndpoint, Origin_linkLocalRange_isLinkLocal)
{
    m_isDhcpOn = true;
    m_isLinkLocal = true;
    for (const AddressOrigin said : {AddressOrigin::UNKNOWN, AddressOrigin::OTHER, AddressOrigin::WELL_KNOWN,
                                     AddressOrigin::DHCP, AddressOrigin::ROUTER_ADVERTISEMENT})
    {
        EXPECT_EQ(origin(AddressFamily::IPV4, said), "6");
        EXPECT_EQ(origin(AddressFamily::IPV6, said), "10");
    }
    // An administrator may set such an address.
    EXPECT_EQ(origin(AddressFamily::IPV4, AddressOrigin::MANUAL), "3");
}

TEST_F(IPProtocolEndpoint, AddressOnTwoAdapters_isTwoEndpoints)
{
    const broker::Address one = fakes::address(4, "fe80::1", AddressFamily::IPV6);
    const broker::Address other = fakes::address(5, "fe80::1", AddressFamily::IPV6);
    m_world.adapters.set({one, other});
    ASSERT_EQ(records().size(), 2U);
    EXPECT_NE(records()[0].instance->toPathString(), records()[1].instance->toPathString());
}

}  // namespace
