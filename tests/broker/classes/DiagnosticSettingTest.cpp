#include "broker/ClassTest.h"
#include "broker/TakesValue.h"

namespace {

class DiagnosticSetting : public fakes::ClassTest
{
protected:
    DiagnosticSetting() : ClassTest("Zerix_DiagnosticSetting") {}
};

TEST_F(DiagnosticSetting, Values_areTheStoredOnesOrDefaults)
{
    fakes::expectShown("Zerix_DiagnosticSetting", {{"the defaults", [](fakes::World&) {}},
                                                   {"a stored count", [](fakes::World& world) {
                                                        world.storage.set("Diagnostics", "Setting", "SampleCount=20");
                                                    }}});
}

TEST_F(DiagnosticSetting, Change_isStoredUnderTheDiagnostics)
{
    const auto& record = records().at(0);
    EXPECT_EQ(m_workspace.instances("Zerix_DiagnosticSetting")->storageKey(record), "Diagnostics");
}

TEST_F(DiagnosticSetting, Values_haveLimits)
{
    core::CimInstance& setting = instance();
    EXPECT_TRUE(support::isLimitedTo<core::CimPropertyUint16>(setting, "SampleCount", 1, 600));
    EXPECT_TRUE(support::isLimitedTo<core::CimPropertyUint16>(setting, "SamplePeriodMilliseconds", 10, 60'000));
    EXPECT_TRUE(support::isLimitedTo<core::CimPropertyUint8>(setting, "PassThresholdPercent", 0, 100));
    EXPECT_TRUE(support::isLimitedTo<core::CimPropertyUint64>(setting, "JobRetentionSeconds", 0, 31'536'000));
    EXPECT_TRUE(support::isLimitedTo<core::CimPropertyString>(setting, "ElementName", 0, 256));
}

}  // namespace
