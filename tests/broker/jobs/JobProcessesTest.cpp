#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

#include "broker/jobs/JobEntry.h"
#include "broker/jobs/JobWorld.h"
#include "support/LogCapture.h"

// Processes that run jobs at the same time, and what they find of processes that have ended: at every change of the
// stored entries, and when any change fails.
namespace {

using broker::EndOutcome;
using broker::JobState;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class JobProcesses : public testing::Test, protected fakes::JobMachine
{
protected:
    // The jobs that a new process shows.
    std::vector<std::string> statesLater() { return makeProcess("99-1")->states(); }

    std::unique_ptr<fakes::JobProcess> m_one = makeProcess("10-1");
    std::unique_ptr<fakes::JobProcess> m_two = makeProcess("11-1");
};

TEST_F(JobProcesses, RunningJob_isSeenByTheOther)
{
    EXPECT_THAT(m_two->states(), IsEmpty());
    const std::string id = m_one->start(adapter, setting, 2);
    EXPECT_THAT(m_two->states(), ElementsAre("4 " + id));
    machine.pass(milliseconds{100});
    EXPECT_EQ(m_two->jobs.jobs()[0].elapsed, milliseconds{100});
    m_one->thread.play();
    machine.pass(milliseconds{100});
    m_one->thread.play();
    EXPECT_THAT(m_two->states(), ElementsAre("7 " + id));
    EXPECT_THAT(m_two->jobs.results(), SizeIs(1));
    EXPECT_FALSE(m_two->thread.isRunning());
}

TEST_F(JobProcesses, Job_deletedByTheOther_stopsWithoutAResult)
{
    const std::string id = m_one->start(adapter, setting, 2);
    m_two->mark(id);
    EXPECT_THAT(m_one->states(), IsEmpty());
    machine.pass(seconds{1});
    EXPECT_EQ(m_one->thread.play(), std::nullopt);
    EXPECT_THAT(m_one->jobs.results(), IsEmpty());
    EXPECT_THAT(statesLater(), IsEmpty());
}

TEST_F(JobProcesses, Job_endedByTheOther_leavesItsResult)
{
    const std::string id = m_one->start(adapter, setting, 5);
    machine.pass(milliseconds{100});
    m_one->thread.play();
    EXPECT_EQ(m_two->jobs.end(id, JobState::TERMINATED), EndOutcome::ENDED);
    EXPECT_EQ(m_two->jobs.end(id, JobState::TERMINATED), EndOutcome::NOT_RUNNING);
    EXPECT_EQ(m_one->thread.play(), std::nullopt);
    EXPECT_THAT(m_one->states(), ElementsAre("8 " + id));
    ASSERT_THAT(m_two->jobs.results(), SizeIs(1));
    EXPECT_THAT(m_two->jobs.results()[0]->bytesReceived, SizeIs(1));
    EXPECT_THAT(m_two->jobs.results()[0]->errors, ElementsAre("The job was terminated"));
}

TEST_F(JobProcesses, JobOfTheOther_withoutItsEntry_goesOn)
{
    const std::string id = m_one->start(adapter, setting, 5);
    m_two->storage.isReadable = false;
    EXPECT_EQ(m_two->jobs.end(id, JobState::TERMINATED), EndOutcome::FAILED);
    m_two->storage.isReadable = true;
    m_two->storage.firstFailing = 1;
    m_two->storage.lastFailing = INT_MAX;
    EXPECT_EQ(m_two->jobs.end(id, JobState::TERMINATED), EndOutcome::FAILED);
    EXPECT_THAT(m_one->states(), ElementsAre("4 " + id));
}

TEST_F(JobProcesses, WaitingThread_looksForChangesEachSecond)
{
    setting.samplePeriod = std::chrono::milliseconds{60'000};
    m_one->start(adapter, setting, 1);
    EXPECT_EQ(m_one->thread.play(), milliseconds{1000});
}

TEST_F(JobProcesses, JobOfADeadHost_hasEndedByAnException)
{
    const std::string id = m_one->start(adapter, setting, 5);
    machine.pass(seconds{3});
    m_one->hosts.end();
    const auto jobs = m_two->jobs.jobs();
    ASSERT_THAT(jobs, SizeIs(1));
    EXPECT_EQ(jobs[0].state, JobState::EXCEPTION);
    EXPECT_EQ(jobs[0].error, "The host process ended");
    EXPECT_EQ(jobs[0].elapsed, seconds{3});
    m_two->thread.play();
    // The job is stored as ended and kept for its retention.
    machine.pass(seconds{59});
    EXPECT_THAT(statesLater(), ElementsAre("10 " + id));
    machine.pass(seconds{1});
    EXPECT_THAT(m_two->states(), IsEmpty());
    // The port is free.
    EXPECT_NE(m_two->start(adapter, setting, 1), "");
}

TEST_F(JobProcesses, JobLeftByAnEarlierLifeOfTheModule_hasEnded)
{
    const std::string id = m_one->start(adapter, setting, 5);
    // A process with the same name is alive, but it does not run the job.
    EXPECT_THAT(makeProcess("10-1")->states(), ElementsAre("10 " + id));
}

TEST_F(JobProcesses, RecoveredJob_deletedMeanwhile_staysDeleted)
{
    const std::string id = m_one->start(adapter, setting, 5);
    m_one->hosts.end();
    // Both processes see the ended host's job. One deletes it before the other one writes.
    m_two->thread.worksWhileWaited = false;
    EXPECT_THAT(m_two->states(), ElementsAre("10 " + id));
    auto three = makeProcess("12-1");
    three->states();
    three->mark(id);
    m_two->thread.play();
    EXPECT_THAT(statesLater(), IsEmpty());
}

// Three starts, a deletion, a result and its job.
constexpr int CHANGES = 6;

// The process ends before its change with this number. Later changes are not stored.
class JobCrash : public JobProcesses, public testing::WithParamInterface<int>
{
};

TEST_P(JobCrash, WhatWasAnswered_isWhatTheNextProcessFinds)
{
    m_one->storage.lifetime = GetParam();
    const auto lives = [this] { return m_one->storage.changes <= m_one->storage.lifetime; };
    const std::string deleted = m_one->start(fakes::adapter(2), setting, 2);
    const bool wasDeletedStarted = lives();
    m_one->mark(deleted);
    const bool wasDeleted = lives();
    const std::string completed = m_one->start(adapter, setting, 1);
    const bool wasStarted = lives();
    machine.pass(milliseconds{100});
    m_one->thread.play();
    const bool wasCompleted = lives();
    const std::string running = m_one->start(adapter, setting, 600);
    const bool wasRunning = lives();
    EXPECT_EQ(wasRunning, GetParam() == CHANGES) << "the tests cover every change";
    m_one->hosts.end();

    const support::LogCapture log(1);
    auto next = makeProcess("12-1");
    std::vector<std::string> expected;
    if (wasDeletedStarted && !wasDeleted) {
        expected.push_back("10 " + deleted);
    }
    // A stored result shows how the job ended, even if the job's entry was not updated.
    const bool hasResult = !next->jobs.results().empty();
    EXPECT_TRUE(!wasCompleted || hasResult);
    if (wasStarted) {
        expected.push_back((hasResult ? "7 " : "10 ") + completed);
    }
    if (wasRunning) {
        expected.push_back("10 " + running);
    }
    EXPECT_EQ(next->states(), expected);
    EXPECT_THAT(log.events(), IsEmpty());
    for (const broker::JobStatus& job : next->jobs.jobs()) {
        EXPECT_EQ(job.error, job.state == JobState::EXCEPTION ? "The host process ended" : "");
    }
    // The next process can continue.
    next->thread.play();
    EXPECT_NE(next->start(adapter, setting, 1), "");
    for (const broker::JobStatus& job : next->jobs.jobs()) {
        next->mark(job.id);
    }
    EXPECT_THAT(next->storage.values("Jobs"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Changes, JobCrash, testing::Range(0, CHANGES + 1));

// One change fails.
class JobWriteFailure : public JobProcesses, public testing::WithParamInterface<int>
{
};

TEST_P(JobWriteFailure, FailedWrite_isTriedAgain)
{
    const support::LogCapture log(1);
    m_one->storage.firstFailing = m_one->storage.lastFailing = GetParam();
    m_one->mark(m_one->start(fakes::adapter(2), setting, 2));
    const std::string completed = m_one->start(adapter, setting, 1);
    machine.pass(milliseconds{100});
    m_one->thread.play();
    const std::string running = m_one->start(adapter, setting, 600);
    EXPECT_THAT(m_one->states(), ElementsAre("7 " + completed, "4 " + running));
    EXPECT_THAT(m_one->jobs.results(), SizeIs(1));
    EXPECT_THAT(log.events(), SizeIs(1)) << "each failure is an event";
    // The thread works on the running job and repeats the failed write in its next step.
    m_one->mark("another");
    // A running job is stored only when it starts and when it ends.
    const bool wasNotStored = GetParam() == CHANGES;
    m_one->hosts.end();
    std::vector<std::string> expected{"7 " + completed};
    if (!wasNotStored) {
        expected.push_back("10 " + running);
    }
    EXPECT_EQ(statesLater(), expected);
    EXPECT_THAT(makeProcess("98-1")->jobs.results(), SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(Changes, JobWriteFailure, testing::Range(1, CHANGES + 1));

}  // namespace
