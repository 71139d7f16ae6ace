#include "broker/ClassTest.h"

namespace {

using testing::ElementsAre;

class IPConfiguration : public fakes::ClassTest
{
protected:
    IPConfiguration() : ClassTest("Zerix_IPConfiguration") {}
};

TEST_F(IPConfiguration, Configuration_showsAllThereIs)
{
    m_world.adapters.set({fakes::ipConfiguration(4)});
    EXPECT_THAT(values(), ElementsAre("InstanceID=Vexal:IPConfiguration:{00000004-0000-0000-0000-000000000000}",
                                      "DefaultGateways={192.0.2.1, fe80::1}", "DNSServers={192.0.2.53, 2001:db8::53}",
                                      "DNSSuffix=example.org", "DHCPEnabled=true", "DHCPServer=192.0.2.67",
                                      "DHCPLeaseObtained=at 1700000000000000", "DHCPLeaseExpires=at 1700086400000000",
                                      "IPv4Metric=25", "IPv6Metric=35", "IPv4MTU=1500", "IPv6MTU=1280"));
}

TEST_F(IPConfiguration, WhatIsNotThere_isNull)
{
    broker::IpConfiguration bare;
    bare.adapterGuid = fakes::adapter(4).guid;
    m_world.adapters.set({bare});
    EXPECT_THAT(values(), ElementsAre("InstanceID=Vexal:IPConfiguration:{00000004-0000-0000-0000-000000000000}",
                                      "DefaultGateways=null", "DNSServers=null", "DNSSuffix=null", "DHCPEnabled=false",
                                      "DHCPServer=null", "DHCPLeaseObtained=null", "DHCPLeaseExpires=null",
                                      "IPv4Metric=null", "IPv6Metric=null", "IPv4MTU=null", "IPv6MTU=null"));
}

class PortIPConfiguration : public fakes::ClassTest
{
protected:
    PortIPConfiguration() : ClassTest("Zerix_PortIPConfiguration") {}
};

TEST_F(PortIPConfiguration, Configuration_leadsToItsPort)
{
    m_world.adapters.set({fakes::adapter(3), fakes::adapter(4)});
    // A configuration of an adapter that appeared after the ports were read has no port yet.
    m_world.adapters.set({fakes::ipConfiguration(5), fakes::ipConfiguration(4)});
    ASSERT_EQ(records().size(), 1U);
    EXPECT_THAT(value("ManagedElement"), testing::HasSubstr(fakes::adapter(4).guid));
    EXPECT_EQ(value("SettingData"),
              "Zerix_IPConfiguration.InstanceID=\"Vexal:IPConfiguration:{00000004-0000-0000-0000-000000000000}\"");
}

}  // namespace
