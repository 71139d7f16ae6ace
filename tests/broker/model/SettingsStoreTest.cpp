#include "broker/model/SettingsStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <type_traits>

#include "Utils/Exception.h"
#include "broker/Fakes.h"
#include "support/LogCapture.h"
#include "support/Thrown.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

// The constructor makes a mutex, which the platform may refuse.
static_assert(!std::is_nothrow_constructible_v<broker::SettingsStore, broker::SettingsStorage&>);

class SettingsStore : public testing::Test
{
protected:
    fakes::Storage m_storage;
    broker::SettingsStore m_store{m_storage};
    support::LogCapture m_log{1};
};

TEST_F(SettingsStore, Stored_isRead)
{
    m_storage.set("Adapters\\{G}", "Setting", "ElementName=Uplink;Tag=");
    m_storage.set("Diagnostics", "Setting",
                  "SampleCount=600;SamplePeriodMilliseconds=10;PassThresholdPercent=0;JobRetentionSeconds=31536000;"
                  "ElementName=Mine%3B");
    EXPECT_EQ(m_store.adapterSetting("{G}").elementName, "Uplink");
    EXPECT_EQ(m_store.adapterSetting("{G}").tag, "");
    EXPECT_EQ(m_store.adapterSetting("{H}").elementName, std::nullopt);
    const broker::DiagnosticSetting diagnostic = m_store.diagnosticSetting();
    EXPECT_EQ(diagnostic.sampleCount, 600);
    EXPECT_EQ(diagnostic.samplePeriod, std::chrono::milliseconds{10});
    EXPECT_EQ(diagnostic.passThresholdPercent, 0);
    EXPECT_EQ(diagnostic.jobRetention, std::chrono::seconds{31'536'000});
    EXPECT_EQ(diagnostic.elementName, "Mine;");
    EXPECT_THAT(m_log.events(), IsEmpty());
}

TEST_F(SettingsStore, Stored_isReadAgainOnlyWhenChanged)
{
    broker::SettingsStore other(m_storage);
    m_store.diagnosticSetting();
    const int reads = m_storage.reads;
    m_store.diagnosticSetting();
    EXPECT_EQ(m_storage.reads, reads);
    other.write("Diagnostics", {{"SampleCount", "7"}});
    EXPECT_EQ(m_store.diagnosticSetting().sampleCount, 7);
}

TEST_F(SettingsStore, Misfit_isIgnoredAndReportedOnce)
{
    m_storage.set("Adapters\\{G}", "Setting", "ElementName=;Tag=" + std::string(33, 'x'));
    EXPECT_EQ(m_store.adapterSetting("{G}").elementName, std::nullopt);
    EXPECT_EQ(m_store.adapterSetting("{G}").tag, std::nullopt);
    // Another entry changes, so everything is read again.
    m_storage.set("Adapters\\{H}", "Setting", "Tag=1");
    m_store.adapterSetting("{G}");
    EXPECT_THAT(m_log.events(), ElementsAre(EndsWith("error: Value '' of ElementName in Adapters\\{G} is out of range "
                                                     "and is ignored\n"),
                                            EndsWith("' of Tag in Adapters\\{G} is out of range and is ignored\n")));
}

TEST_F(SettingsStore, Number_outOfRangeOrNone_isIgnored)
{
    for (const char* text : {"0", "601", "-1", "70000", "99999999999999999999999", "", "5x", " 5", "0x5"}) {
        m_log.clear();
        m_storage.set("Diagnostics", "Setting", std::string("SampleCount=") + text);
        EXPECT_EQ(m_store.diagnosticSetting().sampleCount, 10) << text;
        EXPECT_THAT(m_log.events(),
                    ElementsAre(EndsWith("error: Value '" + std::string(text) +
                                         "' of SampleCount in Diagnostics is out of range and is ignored\n")));
    }
    for (const char* setting : {"JobRetentionSeconds=31536001", "ElementName=a%00b"}) {
        m_storage.set("Diagnostics", "Setting", setting);
        EXPECT_EQ(m_store.diagnosticSetting().jobRetention, std::chrono::seconds{300}) << setting;
        EXPECT_EQ(m_store.diagnosticSetting().elementName, "Link Diagnostics") << setting;
    }
}

TEST_F(SettingsStore, Setting_notUnderstood_isIgnored)
{
    for (const bool isText : {true, false}) {
        m_storage.set("Diagnostics", "Setting", isText ? "SampleCount" : "", isText);
        EXPECT_EQ(m_store.diagnosticSetting().sampleCount, 10);
    }
    const auto line = EndsWith("error: Setting Diagnostics cannot be understood and is ignored\n");
    EXPECT_THAT(m_log.events(), ElementsAre(line, line));
}

TEST_F(SettingsStore, Unreadable_isAFailureAndErasesNothing)
{
    m_storage.set("Diagnostics", "Setting", "SampleCount=5");
    m_storage.isReadable = false;
    EXPECT_THROW(m_store.diagnosticSetting(), utils::EFailed);
    EXPECT_THROW(m_store.adapterSetting("{G}"), utils::EFailed);
    EXPECT_THROW(m_store.adaptersWithSetting(), utils::EFailed);
    EXPECT_THROW(m_store.write("Diagnostics", {{"PassThresholdPercent", "1"}}), utils::EFailed);
    EXPECT_THROW(m_store.restoreDefaults("Diagnostics", {"PassThresholdPercent"}), utils::EFailed);
    EXPECT_THAT(m_storage.values("Diagnostics"), ElementsAre("Setting=SampleCount=5"));
    m_storage.isReadable = true;
    EXPECT_EQ(m_store.diagnosticSetting().sampleCount, 5);
}

TEST_F(SettingsStore, TextWithAZero_isRefused)
{
    m_storage.set("K", "Setting", "A=old");
    EXPECT_THROW(m_store.write("K", {{"B", "1"}, {"A", std::string("a\0b", 3)}}), utils::EInvalidParameter);
    EXPECT_THAT(m_storage.values("K"), ElementsAre("Setting=A=old"));
}

TEST_F(SettingsStore, FailedWrite_changesNothing)
{
    m_storage.set("K", "Setting", "A=old");
    m_storage.firstFailing = 1;
    m_storage.lastFailing = 2;
    const auto write = [this] { m_store.write("K", {{"A", "1"}}); };
    EXPECT_EQ(support::thrownBy<utils::EFailed>(write), "DRAVEv2: Setting K could not be stored");
    m_storage.failure = broker::StoreResult::ACCESS_DENIED;
    EXPECT_EQ(support::thrownBy<utils::EForbidden>(write),
              "DRAVEv2: EForbidden:Setting K could not be stored: access denied");
    EXPECT_THAT(m_storage.values("K"), ElementsAre("Setting=A=old"));
}

// Two processes

class SettingsOfTwoProcesses : public SettingsStore
{
protected:
    // The other process makes its change while this one is between read and write, and therefore waits for the lock.
    void changeMeanwhile(const std::function<void()>& change)
    {
        m_mine.beforeWrite = [this, change] {
            m_thread = std::thread([this, change] {
                change();
                m_isDone = true;
            });
            while (m_theirs.lockRequests == 0 && !m_isDone) {
                std::this_thread::yield();
            }
        };
    }

    fakes::Storage m_mine{m_storage.stored()};
    fakes::Storage m_theirs{m_storage.stored()};
    broker::SettingsStore m_myStore{m_mine};
    broker::SettingsStore m_theirStore{m_theirs};
    std::thread m_thread;
    std::atomic<bool> m_isDone{false};
};

TEST_F(SettingsOfTwoProcesses, ChangesOfOneSetting_areBothKept)
{
    m_storage.set("Adapters\\{G}", "Setting", "ElementName=old;Tag=old");
    changeMeanwhile([this] { m_theirStore.write("Adapters\\{G}", {{"Tag", "new"}}); });
    m_myStore.write("Adapters\\{G}", {{"ElementName", "new"}});
    m_thread.join();
    EXPECT_EQ(m_myStore.adapterSetting("{G}").elementName, "new");
    EXPECT_EQ(m_myStore.adapterSetting("{G}").tag, "new");
    EXPECT_THAT(m_storage.values("Adapters\\{G}"), ElementsAre("Setting=ElementName=new;Tag=new"));
}

TEST_F(SettingsOfTwoProcesses, RestoredDefault_isNotTakenBack)
{
    m_storage.set("Diagnostics", "Setting", "JobRetentionSeconds=7;SampleCount=5");
    for (const std::vector<std::string>& names : {std::vector<std::string>{"SampleCount"}, {}}) {
        m_theirs.lockRequests = 0;
        m_isDone = false;
        changeMeanwhile([this, &names] { m_theirStore.restoreDefaults("Diagnostics", names); });
        m_myStore.write("Diagnostics", {{"JobRetentionSeconds", "8"}});
        m_thread.join();
        EXPECT_EQ(m_myStore.diagnosticSetting().sampleCount, 10);
        EXPECT_EQ(m_myStore.diagnosticSetting().jobRetention, std::chrono::seconds{names.empty() ? 300 : 8});
    }
}

// The watch may report the other's change only after the start of this one's.
TEST_F(SettingsOfTwoProcesses, Change_readsWhatIsStoredUnderTheLock)
{
    m_storage.set("Diagnostics", "Setting", "JobRetentionSeconds=7");
    m_myStore.diagnosticSetting();
    const int reads = m_mine.reads;
    m_myStore.write("Diagnostics", {{"SampleCount", "5"}});
    EXPECT_EQ(m_mine.reads, reads + 1);
    EXPECT_EQ(m_mine.lockRequests, 1);
}

TEST_F(SettingsStore, RefusedLock_changesNothing)
{
    m_storage.set("Diagnostics", "Setting", "SampleCount=5");
    m_storage.lockResult = broker::StoreResult::FAILED;
    EXPECT_THROW(m_store.write("Diagnostics", {{"SampleCount", "6"}}), utils::EFailed);
    EXPECT_THROW(m_store.restoreDefaults("Diagnostics", {}), utils::EFailed);
    m_storage.lockResult = broker::StoreResult::ACCESS_DENIED;
    EXPECT_THROW(m_store.write("Diagnostics", {{"SampleCount", "6"}}), utils::EForbidden);
    EXPECT_THROW(m_store.restoreDefaults("Diagnostics", {}), utils::EForbidden);
    EXPECT_EQ(m_storage.changes, 0);
    m_storage.lockResult = broker::StoreResult::DONE;
    m_store.write("Diagnostics", {{"SampleCount", "6"}});
    EXPECT_EQ(m_store.diagnosticSetting().sampleCount, 6);
}

}  // namespace
