#include "broker/model/SettingsStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

#include "Utils/Exception.h"
#include "broker/Fakes.h"
#include "support/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

class SettingsStore : public testing::Test
{
protected:
    fakes::Storage m_storage;
    broker::SettingsStore m_store{m_storage};
    support::LogCapture m_log{1};
};

// It holds a mutex, which the platform may refuse: a promise not to throw would end the process.
TEST(SettingsStoreMade, MayThrow)
{
    EXPECT_FALSE((std::is_nothrow_constructible_v<broker::SettingsStore, broker::SettingsStorage&>));
}

TEST_F(SettingsStore, MissingValuesHaveTheirDefaults)
{
    const broker::AdapterSetting adapter = m_store.adapterSetting("{G}");
    EXPECT_EQ(adapter.elementName, std::nullopt);
    EXPECT_EQ(adapter.tag, std::nullopt);
    const broker::DiagnosticSetting diagnostic = m_store.diagnosticSetting();
    EXPECT_EQ(diagnostic.sampleCount, 10);
    EXPECT_EQ(diagnostic.samplePeriodMilliseconds, 1000);
    EXPECT_EQ(diagnostic.passThresholdPercent, 90);
    EXPECT_EQ(diagnostic.jobRetentionSeconds, 300U);
    EXPECT_EQ(diagnostic.elementName, "Link Diagnostics");
    EXPECT_THAT(m_log.events(), IsEmpty());
}

TEST_F(SettingsStore, ReadsWhatIsStored)
{
    m_storage.set("Adapters\\{G}", "ElementName", "Uplink");
    m_storage.set("Adapters\\{G}", "Tag", "");
    m_storage.set("Diagnostics", "SampleCount", "600");
    m_storage.set("Diagnostics", "SamplePeriodMilliseconds", "10");
    m_storage.set("Diagnostics", "PassThresholdPercent", "0");
    m_storage.set("Diagnostics", "JobRetentionSeconds", "18446744073709551615");
    m_storage.set("Diagnostics", "ElementName", "Mine");
    EXPECT_EQ(m_store.adapterSetting("{G}").elementName, "Uplink");
    EXPECT_EQ(m_store.adapterSetting("{G}").tag, "");
    EXPECT_EQ(m_store.adapterSetting("{H}").elementName, std::nullopt);
    const broker::DiagnosticSetting diagnostic = m_store.diagnosticSetting();
    EXPECT_EQ(diagnostic.sampleCount, 600);
    EXPECT_EQ(diagnostic.samplePeriodMilliseconds, 10);
    EXPECT_EQ(diagnostic.passThresholdPercent, 0);
    EXPECT_EQ(diagnostic.jobRetentionSeconds, UINT64_MAX);
    EXPECT_EQ(diagnostic.elementName, "Mine");
    EXPECT_THAT(m_log.events(), IsEmpty());
}

TEST_F(SettingsStore, EachValueThatDoesNotFitIsIgnoredWithOneErrorLine)
{
    m_storage.set("Adapters\\{G}", "ElementName", "");
    m_storage.set("Adapters\\{G}", "Tag", std::string(33, 'x'));
    EXPECT_EQ(m_store.adapterSetting("{G}").elementName, std::nullopt);
    EXPECT_EQ(m_store.adapterSetting("{G}").tag, std::nullopt);
    m_log.clear();
    m_store.adapterSetting("{G}");
    EXPECT_THAT(m_log.events(), ElementsAre(EndsWith("error: Value '' of Adapters\\{G}\\ElementName is out of range "
                                                     "and is ignored\n"),
                                            EndsWith("' of Adapters\\{G}\\Tag is out of range and is ignored\n")));
}

TEST_F(SettingsStore, NumbersOutOfRangeAndTextsThatAreNoNumberAreIgnored)
{
    for (const char* text : {"0", "601", "-1", "70000", "99999999999999999999999", "", "5x", " 5", "0x5"}) {
        m_storage.set("Diagnostics", "SampleCount", text);
        m_log.clear();
        EXPECT_EQ(m_store.diagnosticSetting().sampleCount, 10) << text;
        EXPECT_THAT(m_log.events(), ElementsAre(EndsWith("error: Value '" + std::string(text) +
                                                         "' of Diagnostics\\SampleCount is out of range and is "
                                                         "ignored\n")));
    }
}

TEST_F(SettingsStore, ValueThatIsNoTextIsIgnored)
{
    m_storage.set("Diagnostics", "SampleCount", "", false);
    EXPECT_EQ(m_store.diagnosticSetting().sampleCount, 10);
    EXPECT_THAT(m_log.events(), ElementsAre(EndsWith("error: Value of Diagnostics\\SampleCount is no text and is "
                                                     "ignored\n")));
}

TEST_F(SettingsStore, WritesAllValues)
{
    m_store.write("K", {{"A", "1"}, {"B", "2"}});
    EXPECT_THAT(m_storage.values("K"), ElementsAre("A=1", "B=2"));
}

TEST_F(SettingsStore, FailedWriteLeavesWhatWasThere)
{
    m_storage.set("K", "A", "old");
    m_storage.set("K", "C", "other");
    m_storage.failingName = "B";
    try {
        m_store.write("K", {{"A", "1"}, {"N", "new"}, {"B", "2"}});
        FAIL();
    } catch (const utils::EFailed& exception) {
        EXPECT_STREQ(exception.what(), "DRAVEv2: Setting K could not be stored");
    }
    EXPECT_THAT(m_storage.values("K"), ElementsAre("A=old", "C=other"));
}

TEST_F(SettingsStore, DeniedWriteIsForbiddenAndTouchesNothing)
{
    m_storage.set("K", "A", "old");
    m_storage.failingName = "A";
    m_storage.failure = broker::StoreResult::ACCESS_DENIED;
    try {
        m_store.write("K", {{"A", "1"}, {"B", "2"}});
        FAIL();
    } catch (const utils::EForbidden& exception) {
        EXPECT_STREQ(exception.what(), "DRAVEv2: EForbidden:Setting K could not be stored: access denied");
    }
    EXPECT_THAT(m_storage.values("K"), ElementsAre("A=old"));
    EXPECT_EQ(m_storage.writes, 1);
}

TEST_F(SettingsStore, FailureToPutBackIsLogged)
{
    m_storage.failingName = "B";
    m_storage.eraseResult = broker::StoreResult::FAILED;
    EXPECT_THROW(m_store.write("K", {{"A", "1"}, {"B", "2"}}), utils::EFailed);
    EXPECT_THAT(m_log.events(), ElementsAre(EndsWith("error: Setting K could not be put back as it was\n"),
                                            EndsWith("error: Setting K could not be stored\n")));
}

TEST_F(SettingsStore, EraseBringsTheDefaultsBack)
{
    m_storage.set("Diagnostics", "SampleCount", "5");
    EXPECT_TRUE(m_store.erase("Diagnostics"));
    EXPECT_EQ(m_store.diagnosticSetting().sampleCount, 10);
    m_storage.eraseResult = broker::StoreResult::ACCESS_DENIED;
    EXPECT_FALSE(m_store.erase("Diagnostics"));
}

}  // namespace
