#include "broker/ClassTest.h"
#include "broker/TakesValue.h"

namespace {

class AdapterSetting : public fakes::ClassTest
{
protected:
    AdapterSetting() : ClassTest("Zerix_AdapterSetting") { m_world.adapters.set({fakes::adapter(1)}); }
};

TEST_F(AdapterSetting, Setting_isThatOfTheAdapter)
{
    const std::string guid = fakes::adapter(1).guid;
    m_world.storage.set("Adapters\\" + guid, "Setting", "ElementName=Uplink");
    EXPECT_THAT(support::values(instance()),
                testing::ElementsAre("InstanceID=Vexal:AdapterSetting:" + guid, "ElementName=Uplink", "Tag=null"));
    EXPECT_EQ(m_workspace.instances("Zerix_AdapterSetting")->storageKey(records().at(0)), "Adapters\\" + guid);
}

TEST_F(AdapterSetting, Texts_haveLimits)
{
    EXPECT_TRUE(support::isLimitedTo<core::CimPropertyString>(instance(), "ElementName", 1, 64));
    EXPECT_TRUE(support::isLimitedTo<core::CimPropertyString>(instance(), "Tag", 0, 32));
}

}  // namespace
