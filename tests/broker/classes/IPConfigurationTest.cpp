#include "broker/ClassTest.h"

namespace {

TEST(IPConfiguration, Configuration_showsAllThereIs)
{
    broker::IpConfiguration bare;
    bare.adapterGuid = fakes::adapter(4).guid;
    fakes::expectShown("Zerix_IPConfiguration", {{"each field", fakes::only(fakes::ipConfiguration(4))},
                                                 {"nothing but the adapter", fakes::only(bare)}});
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
