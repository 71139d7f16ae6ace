#include "broker/ClassTest.h"

namespace {

using broker::Address;
using broker::AddressFamily;
using broker::AddressOrigin;

// A machine with one IPv4 address.
template <class... Changes>
auto ipv4(const Changes&... changes)
{
    return fakes::only(fakes::address(4, "192.0.2.2"), changes...);
}

TEST(IPProtocolEndpointValues, Endpoint_showsItsAddress)
{
    fakes::expectShown("Zerix_IPProtocolEndpoint", {{"an IPv4 address", ipv4()},
                                                    {"an IPv6 address, which has no mask",
                                                     fakes::only(fakes::address(4, "fd00::2", AddressFamily::IPV6))},
                                                    {"prefix of 0 bits", ipv4(&Address::prefixLength, 0)},
                                                    {"prefix of 1 bit", ipv4(&Address::prefixLength, 1)},
                                                    {"prefix of 9 bits", ipv4(&Address::prefixLength, 9)},
                                                    {"prefix of 31 bits", ipv4(&Address::prefixLength, 31)},
                                                    {"prefix of 32 bits", ipv4(&Address::prefixLength, 32)},
                                                    {"unknown prefix", ipv4(&Address::prefixLength, std::nullopt)}});
}

class IPProtocolEndpoint : public fakes::ClassTest
{
protected:
    IPProtocolEndpoint() : ClassTest("Zerix_IPProtocolEndpoint") {}

    // The origins that the endpoint shows if the platform reports unknown, other, manual, well-known, DHCP and a
    // router's advertisement.
    std::string origins(AddressFamily family, bool isDhcpOn, bool isLinkLocal)
    {
        std::string result;
        for (int origin = 0; origin <= static_cast<int>(AddressOrigin::ROUTER_ADVERTISEMENT); ++origin) {
            fakes::only(fakes::address(4, "any", family), &Address::origin, static_cast<AddressOrigin>(origin),
                        &Address::isDhcpOn, isDhcpOn, &Address::isLinkLocal, isLinkLocal)(m_world);
            result += value("AddressOrigin") + " ";
        }
        return result;
    }
};

TEST_F(IPProtocolEndpoint, Origin_dhcpThatIsOff_isUnknown)
{
    EXPECT_EQ(origins(AddressFamily::IPV4, true, false), "0 1 3 1 4 0 ");
    EXPECT_EQ(origins(AddressFamily::IPV4, false, false), "0 1 3 1 0 0 ");
    EXPECT_EQ(origins(AddressFamily::IPV6, true, false), "0 1 3 1 7 8 ");
    EXPECT_EQ(origins(AddressFamily::IPV6, false, false), "0 1 3 1 0 8 ");
}

// An administrator may set an address of that range.
TEST_F(IPProtocolEndpoint, Origin_linkLocalRange_isLinkLocal)
{
    for (const bool isDhcpOn : {true, false}) {
        EXPECT_EQ(origins(AddressFamily::IPV4, isDhcpOn, true), "6 6 3 6 6 6 ");
        EXPECT_EQ(origins(AddressFamily::IPV6, isDhcpOn, true), "10 10 3 10 10 10 ");
    }
}

}  // namespace
