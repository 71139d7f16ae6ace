#include "broker/jobs/JobArchive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "broker/Fakes.h"
#include "support/LogCapture.h"

namespace {

using broker::JobState;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

class JobArchive : public testing::Test
{
protected:
    static broker::JobArchive::EndedJob job()
    {
        broker::JobArchive::EndedJob result;
        result.status.id = "Vexal:Job:7-1";
        result.status.adapterName = "eth0";
        result.status.owner = "admin";
        result.status.state = JobState::EXCEPTION;
        result.status.percentComplete = 40;
        result.status.error = "gone";
        result.status.startTime = 1000;
        result.status.retention = UINT64_MAX;
        result.endTime = 3000;
        return result;
    }

    static broker::DiagnosticResult result()
    {
        broker::DiagnosticResult made;
        made.id = "Vexal:DiagnosticResult:7-1";
        made.jobId = "Vexal:Job:7-1";
        made.adapterGuid = "{1}";
        made.isPassed = true;
        made.passedPercent = 50;
        made.startTime = 1000;
        made.duration = 2000;
        made.bytesReceived = {1, UINT32_MAX};
        made.bytesTransmitted = {0, 2};
        made.errors = {"Sample 1: the link is down", "gone"};
        return made;
    }

    fakes::Storage m_storage;
    broker::JobArchive m_archive{m_storage};
};

TEST_F(JobArchive, StoresAJobUnderItsNameAsTexts)
{
    m_archive.keep(job());
    EXPECT_THAT(m_storage.values("Jobs\\Vexal:Job:7-1"),
                ElementsAre("AdapterName=eth0", "EndTime=3000", "Error=gone", "JobState=10", "Owner=admin",
                            "PercentComplete=40", "Retention=18446744073709551615", "StartTime=1000"));
}

TEST_F(JobArchive, StoresAResultUnderItsNameAsTexts)
{
    m_archive.keep(result());
    EXPECT_THAT(m_storage.values("Results\\Vexal:DiagnosticResult:7-1"),
                ElementsAre("Adapter={1}", "BytesReceived=1,4294967295", "BytesTransmitted=0,2", "Duration=2000",
                            "Errors=Sample 1: the link is down\ngone", "IsPassed=1", "Job=Vexal:Job:7-1", "JobState=7",
                            "PassedPercent=50", "StartTime=1000"));
}

TEST_F(JobArchive, ReadsAJobAsItWasKept)
{
    m_archive.keep(job());
    const auto jobs = m_archive.jobs();
    ASSERT_EQ(jobs.size(), 1U);
    const broker::JobStatus& status = jobs[0].status;
    EXPECT_EQ(status.id, "Vexal:Job:7-1");
    EXPECT_EQ(status.adapterName, "eth0");
    EXPECT_EQ(status.owner, "admin");
    EXPECT_EQ(status.state, JobState::EXCEPTION);
    EXPECT_EQ(status.percentComplete, 40);
    EXPECT_EQ(status.error, "gone");
    EXPECT_EQ(status.startTime, 1000U);
    EXPECT_EQ(status.retention, UINT64_MAX);
    EXPECT_EQ(jobs[0].endTime, 3000U);
}

TEST_F(JobArchive, ReadsAResultAsItWasKept)
{
    m_archive.keep(result());
    const auto results = m_archive.results();
    ASSERT_EQ(results.size(), 1U);
    EXPECT_EQ(results[0]->id, "Vexal:DiagnosticResult:7-1");
    EXPECT_EQ(results[0]->jobId, "Vexal:Job:7-1");
    EXPECT_EQ(results[0]->adapterGuid, "{1}");
    EXPECT_EQ(results[0]->jobState, JobState::COMPLETED);
    EXPECT_TRUE(results[0]->isPassed);
    EXPECT_EQ(results[0]->passedPercent, 50);
    EXPECT_EQ(results[0]->startTime, 1000U);
    EXPECT_EQ(results[0]->duration, 2000U);
    EXPECT_THAT(results[0]->bytesReceived, ElementsAre(1, UINT32_MAX));
    EXPECT_THAT(results[0]->bytesTransmitted, ElementsAre(0, 2));
    EXPECT_THAT(results[0]->errors, ElementsAre("Sample 1: the link is down", "gone"));
}

TEST_F(JobArchive, ReadsTheOldestJobFirst)
{
    broker::JobArchive::EndedJob later = job();
    later.status.id = "Vexal:Job:10-1";
    later.status.startTime = 2000;
    m_archive.keep(later);
    m_archive.keep(job());
    const auto jobs = m_archive.jobs();
    ASSERT_EQ(jobs.size(), 2U);
    EXPECT_EQ(jobs[0].status.id, "Vexal:Job:7-1");
    EXPECT_EQ(jobs[1].status.id, "Vexal:Job:10-1");
}

TEST_F(JobArchive, DroppedEntriesAreGone)
{
    m_archive.keep(job());
    m_archive.keep(result());
    m_archive.dropJob("Vexal:Job:7-1");
    m_archive.dropResult("Vexal:DiagnosticResult:7-1");
    EXPECT_THAT(m_archive.jobs(), IsEmpty());
    EXPECT_THAT(m_archive.results(), IsEmpty());
}

TEST_F(JobArchive, HalfAnEntryIsNotLeftBehindWhenAWriteFails)
{
    m_storage.failingName = "Retention";
    m_archive.keep(job());
    EXPECT_THAT(m_storage.children("Jobs"), IsEmpty());
}

TEST_F(JobArchive, WithoutTheRightToWriteNothingIsTriedAndOnlyADebugLineIsWritten)
{
    m_storage.isWritable = false;
    const support::LogCapture log;
    m_archive.keep(job());
    EXPECT_EQ(m_storage.writes, 0);
    EXPECT_THAT(log.messages(),
                ElementsAre("debug|JobArchive|broker::JobArchive::store|Vexal:Job:7-1 is kept in memory only"));
}

TEST_F(JobArchive, EntriesThatCannotBeUnderstoodAreIgnoredWithOneErrorLineEach)
{
    for (const auto& [name, value] : std::vector<std::pair<std::string, std::string>>{
             {"JobState", "4"}, {"PercentComplete", "101"}, {"StartTime", "soon"}, {"EndTime", "007"}})
    {
        m_archive.keep(job());
        m_storage.set("Jobs\\Vexal:Job:7-1", name, value);
        const support::LogCapture log;
        EXPECT_THAT(m_archive.jobs(), IsEmpty()) << name;
        EXPECT_THAT(log.messages(), ElementsAre("error|JobArchive|broker::JobArchive::load|Stored entry "
                                                "Vexal:Job:7-1 ignored: it cannot be understood"))
            << name;
    }
}

TEST_F(JobArchive, ValueThatIsNoTextMakesTheEntryUnreadable)
{
    m_archive.keep(result());
    m_storage.set("Results\\Vexal:DiagnosticResult:7-1", "BytesReceived", "1", false);
    EXPECT_THAT(m_archive.results(), IsEmpty());
}

TEST_F(JobArchive, NameThatWouldLeadToAnotherKeyIsNeverStored)
{
    broker::JobArchive::EndedJob bad = job();
    bad.status.id = "..\\Adapters";
    m_archive.keep(bad);
    EXPECT_EQ(m_storage.writes, 0);
}

class BrokenStorage : public fakes::Storage
{
public:
    std::vector<std::string> children(const std::string& /*key*/) override { throw std::runtime_error("out of order"); }
    bool canWrite(const std::string& /*key*/) override { throw std::runtime_error("out of order"); }
    broker::StoreResult erase(const std::string& /*key*/) override { throw std::runtime_error("out of order"); }
};

TEST_F(JobArchive, StorageThatThrowsIsAnErrorLineForEachPieceOfWork)
{
    const support::LogCapture log(1);
    BrokenStorage storage;
    broker::JobArchive archive(storage);
    EXPECT_THAT(archive.jobs(), IsEmpty());
    archive.keep(job());
    archive.dropJob("Vexal:Job:7-1");
    EXPECT_THAT(
        log.events(),
        ElementsAre(EndsWith("broker::JobArchive::load: error: Stored entries ignored: out of order\n"),
                    EndsWith("broker::JobArchive::store: error: Vexal:Job:7-1 is kept in memory only: out of order\n"),
                    EndsWith("broker::JobArchive::drop: error: Vexal:Job:7-1 stays stored: out of order\n")));
}

}  // namespace
