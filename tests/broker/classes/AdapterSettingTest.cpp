#include "broker/ClassTest.h"
#include "broker/TakesValue.h"

namespace {

using testing::ElementsAre;

class AdapterSetting : public fakes::ClassTest
{
protected:
    AdapterSetting() : ClassTest("Zerix_AdapterSetting") { m_world.adapters.set({fakes::adapter(1)}); }
};

TEST_F(AdapterSetting, Setting_isThatOfTheAdapter)
{
    const std::string guid = fakes::adapter(1).guid;
    m_world.storage.set("Adapters\\" + guid, "Setting", "ElementName=Uplink");
    EXPECT_THAT(values(), ElementsAre("InstanceID=Vexal:AdapterSetting:" + guid, "ElementName=Uplink", "Tag=null"));
}

TEST_F(AdapterSetting, Change_isStoredUnderTheAdapter)
{
    const auto& record = records().at(0);
    EXPECT_EQ(m_workspace.instances("Zerix_AdapterSetting")->storageKey(record), "Adapters\\" + fakes::adapter(1).guid);
}

TEST_F(AdapterSetting, Texts_haveLimits)
{
    core::CimInstance& setting = instance();
    const auto takesText = [&setting](const char* name, std::size_t length) {
        return support::takes<core::CimPropertyString>(setting, name, std::string(length, 'x'));
    };
    EXPECT_FALSE(takesText("ElementName", 0));
    EXPECT_TRUE(takesText("ElementName", 1));
    EXPECT_TRUE(takesText("ElementName", 64));
    EXPECT_FALSE(takesText("ElementName", 65));
    EXPECT_TRUE(takesText("Tag", 0));
    EXPECT_TRUE(takesText("Tag", 32));
    EXPECT_FALSE(takesText("Tag", 33));
}

}  // namespace
