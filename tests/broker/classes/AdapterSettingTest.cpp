#include "broker/classes/SettingClasses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Utils/Exception.h"
#include "broker/Properties.h"

namespace {

using testing::ElementsAre;

TEST(SettingClasses, AdapterSettingIsNamedAfterTheAdapterAndStoredUnderIt)
{
    broker::DescribedStore<broker::AdapterSettingRow> store(broker::adapterSettingClass);
    store.refresh({{"{G}", {"Uplink", std::nullopt}}});
    EXPECT_THAT(support::values(*store.records()[0].instance),
                ElementsAre("InstanceID=Vexal:AdapterSetting:{G}", "ElementName=Uplink", "Tag=null"));
    EXPECT_EQ(store.records()[0].identity, broker::AdapterSetting::key("{G}"));
}

TEST(SettingClasses, DiagnosticSettingShowsItsValues)
{
    broker::DescribedStore<broker::DiagnosticSetting> store(broker::diagnosticSettingClass);
    store.refresh({{}});
    EXPECT_THAT(support::values(*store.records()[0].instance),
                ElementsAre("InstanceID=Vexal:DiagnosticSetting", "SampleCount=10", "SamplePeriodMilliseconds=1000",
                            "PassThresholdPercent=90", "JobRetentionSeconds=300", "ElementName=Link Diagnostics"));
    EXPECT_EQ(store.records()[0].identity, broker::DiagnosticSetting::KEY);
}

// Whether the property takes the value; every way of refusing it is the same here.
template <class Property, class Value>
bool takes(core::CimInstance& instance, const char* name, Value value)
{
    Property newValue(name);
    newValue.setValue(value);
    try {
        instance.getProperties().findProperty(name)->verify(&newValue);
        return true;
    } catch (const utils::EInvalidParameter&) {
        return false;
    }
}

TEST(SettingClasses, AdapterSettingLimitsItsTexts)
{
    broker::DescribedStore<broker::AdapterSettingRow> store(broker::adapterSettingClass);
    store.refresh({{"{G}", {}}});
    core::CimInstance& setting = *store.records()[0].instance;
    const auto takesText = [&setting](const char* name, std::size_t length) {
        return takes<core::CimPropertyString>(setting, name, std::string(length, 'x'));
    };
    EXPECT_FALSE(takesText("ElementName", 0));
    EXPECT_TRUE(takesText("ElementName", 1));
    EXPECT_TRUE(takesText("ElementName", 64));
    EXPECT_FALSE(takesText("ElementName", 65));
    EXPECT_TRUE(takesText("Tag", 0));
    EXPECT_TRUE(takesText("Tag", 32));
    EXPECT_FALSE(takesText("Tag", 33));
}

TEST(SettingClasses, DiagnosticSettingLimitsItsNumbers)
{
    broker::DescribedStore<broker::DiagnosticSetting> store(broker::diagnosticSettingClass);
    store.refresh({{}});
    core::CimInstance& setting = *store.records()[0].instance;
    const auto takes16 = [&setting](const char* name, std::uint16_t value) {
        return takes<core::CimPropertyUint16>(setting, name, value);
    };
    EXPECT_FALSE(takes16("SampleCount", 0));
    EXPECT_TRUE(takes16("SampleCount", 1));
    EXPECT_TRUE(takes16("SampleCount", 600));
    EXPECT_FALSE(takes16("SampleCount", 601));
    EXPECT_FALSE(takes16("SamplePeriodMilliseconds", 9));
    EXPECT_TRUE(takes16("SamplePeriodMilliseconds", 10));
    EXPECT_TRUE(takes16("SamplePeriodMilliseconds", 60000));
    EXPECT_FALSE(takes16("SamplePeriodMilliseconds", 60001));
    EXPECT_TRUE(takes<core::CimPropertyUint8>(setting, "PassThresholdPercent", std::uint8_t{0}));
    EXPECT_TRUE(takes<core::CimPropertyUint8>(setting, "PassThresholdPercent", std::uint8_t{100}));
    EXPECT_FALSE(takes<core::CimPropertyUint8>(setting, "PassThresholdPercent", std::uint8_t{101}));
    EXPECT_TRUE(takes<core::CimPropertyUint64>(setting, "JobRetentionSeconds", UINT64_MAX));
    EXPECT_TRUE(takes<core::CimPropertyString>(setting, "ElementName", std::string(300, 'x')));
}

}  // namespace
