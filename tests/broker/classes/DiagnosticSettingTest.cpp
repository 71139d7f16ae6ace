#include "broker/ClassTest.h"
#include "broker/TakesValue.h"

namespace {

using testing::ElementsAre;

class DiagnosticSetting : public fakes::ClassTest
{
protected:
    DiagnosticSetting() : ClassTest("Zerix_DiagnosticSetting") {}
};

TEST_F(DiagnosticSetting, Setting_showsItsValues)
{
    EXPECT_THAT(values(),
                ElementsAre("InstanceID=Vexal:DiagnosticSetting", "SampleCount=10", "SamplePeriodMilliseconds=1000",
                            "PassThresholdPercent=90", "JobRetentionSeconds=300", "ElementName=Link Diagnostics"));
}

TEST_F(DiagnosticSetting, Change_isStoredUnderTheDiagnostics)
{
    const auto& record = records().at(0);
    EXPECT_EQ(m_workspace.instances("Zerix_DiagnosticSetting")->storageKey(record), "Diagnostics");
}

TEST_F(DiagnosticSetting, Numbers_haveLimits)
{
    core::CimInstance& setting = instance();
    const auto takes16 = [&setting](const char* name, std::uint16_t value) {
        return support::takes<core::CimPropertyUint16>(setting, name, value);
    };
    EXPECT_FALSE(takes16("SampleCount", 0));
    EXPECT_TRUE(takes16("SampleCount", 1));
    EXPECT_TRUE(takes16("SampleCount", 600));
    EXPECT_FALSE(takes16("SampleCount", 601));
    EXPECT_FALSE(takes16("SamplePeriodMilliseconds", 9));
    EXPECT_TRUE(takes16("SamplePeriodMilliseconds", 10));
    EXPECT_TRUE(takes16("SamplePeriodMilliseconds", 60000));
    EXPECT_FALSE(takes16("SamplePeriodMilliseconds", 60001));
    EXPECT_TRUE(support::takes<core::CimPropertyUint8>(setting, "PassThresholdPercent", std::uint8_t{0}));
    EXPECT_TRUE(support::takes<core::CimPropertyUint8>(setting, "PassThresholdPercent", std::uint8_t{100}));
    EXPECT_FALSE(support::takes<core::CimPropertyUint8>(setting, "PassThresholdPercent", std::uint8_t{101}));
    EXPECT_TRUE(support::takes<core::CimPropertyUint64>(setting, "JobRetentionSeconds", std::uint64_t{31'536'000}));
    EXPECT_FALSE(support::takes<core::CimPropertyUint64>(setting, "JobRetentionSeconds", std::uint64_t{31'536'001}));
    EXPECT_TRUE(support::takes<core::CimPropertyString>(setting, "ElementName", std::string(256, 'x')));
    EXPECT_FALSE(support::takes<core::CimPropertyString>(setting, "ElementName", std::string(257, 'x')));
}

}  // namespace
