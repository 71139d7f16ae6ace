#include "broker/classes/JobClasses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "broker/Fakes.h"
#include "broker/Properties.h"

namespace {

using broker::JobState;
using testing::ElementsAre;

class JobClasses : public testing::Test
{
protected:
    JobClasses() { m_world.jobs.startDiagnostic(fakes::adapter(1), {}, 5); }

    // The instance that shows the job after `change`.
    template <class Change>
    std::vector<std::string> job(Change change)
    {
        broker::JobTable::Entry entry = m_world.jobs.jobs()[0];
        change(entry.status);
        m_jobs.refresh({{m_world.jobs, entry}});
        return support::values(*m_jobs.records()[0].instance);
    }

    std::vector<std::string> result(const broker::DiagnosticResult& shown, core::CimInstance* port = nullptr)
    {
        m_results.refresh({{std::make_shared<broker::DiagnosticResult>(shown), port}});
        return support::values(*m_results.records()[0].instance);
    }

    fakes::World m_world;
    broker::DescribedStore<broker::JobRow> m_jobs{broker::concreteJobClass};
    broker::DescribedStore<broker::DiagnosticResultRow> m_results{broker::diagnosticResultClass};
};

TEST_F(JobClasses, RunningJobShowsItsProgress)
{
    EXPECT_THAT(job([](broker::JobStatus& status) {
                    status.percentComplete = 40;
                    status.elapsed = 2'000'000;
                }),
                ElementsAre("InstanceID=Vexal:Job:1700000000000000-1", "Name=Link Diagnostic",
                            "Description=Link diagnostic of eth1", "JobStatus=Running", "Owner=admin", "JobState=4",
                            "PercentComplete=40", "ErrorCode=0", "Priority=0", "StartTime=at 1700000000000000",
                            "ElapsedTime=for 2000000", "TimeBeforeRemoval=for 300000000", "DeleteOnCompletion=true"));
}

TEST_F(JobClasses, StateHasItsWords)
{
    const auto words = [this](JobState state) {
        return job([state](broker::JobStatus& status) {
            status.state = state;
            status.error = "no link";
        })[3];
    };
    EXPECT_EQ(words(JobState::COMPLETED), "JobStatus=Completed");
    EXPECT_EQ(words(JobState::TERMINATED), "JobStatus=Terminated");
    EXPECT_EQ(words(JobState::KILLED), "JobStatus=Killed");
    EXPECT_EQ(words(JobState::EXCEPTION), "JobStatus=Failed: no link");
}

TEST_F(JobClasses, FailedJobHasAnErrorCode)
{
    EXPECT_EQ(job([](broker::JobStatus& status) { status.state = JobState::EXCEPTION; })[7], "ErrorCode=1");
    EXPECT_EQ(job([](broker::JobStatus& status) { status.state = JobState::KILLED; })[7], "ErrorCode=0");
}

TEST_F(JobClasses, UnknownOwnerIsNull)
{
    EXPECT_EQ(job([](broker::JobStatus& status) { status.owner.clear(); })[4], "Owner=null");
}

TEST_F(JobClasses, InstanceOfAJobMarksItForDeletion)
{
    job([](broker::JobStatus& /*status*/) {});
    m_jobs.records()[0].instance->markForDeletion(true);
    m_world.jobs.sweep();
    EXPECT_TRUE(m_world.jobs.jobs().empty());
}

TEST_F(JobClasses, ResultShowsWhatWasFound)
{
    core::CimInstance port("Port");
    EXPECT_THAT(result({"R", "J", "{G}", JobState::COMPLETED, true, 80, 5, 6, {1, 2}, {3, 4}, {"a", "b"}}, &port),
                ElementsAre("InstanceID=R", "ManagedElement=Port.", "JobInstanceID=J", "CompletionState=2",
                            "PassedPercent=80", "StartTime=at 5", "Duration=for 6", "SampleBytesReceived={1, 2}",
                            "SampleBytesTransmitted={3, 4}", "ErrorMessages={a, b}"));
}

TEST_F(JobClasses, ResultOfAGoneAdapterHasNoPort)
{
    EXPECT_EQ(result({})[1], "ManagedElement=null");
    EXPECT_EQ(result({})[9], "ErrorMessages=null");
}

TEST_F(JobClasses, CompletionStateIsTheVerdict)
{
    const auto verdict = [this](JobState state, bool isPassed) {
        broker::DiagnosticResult shown;
        shown.jobState = state;
        shown.isPassed = isPassed;
        shown.bytesTransmitted = {0, 1};
        return result(shown)[3];
    };
    EXPECT_EQ(verdict(JobState::COMPLETED, true), "CompletionState=2");
    EXPECT_EQ(verdict(JobState::COMPLETED, false), "CompletionState=5");
    EXPECT_EQ(verdict(JobState::EXCEPTION, false), "CompletionState=4");
    EXPECT_EQ(verdict(JobState::KILLED, false), "CompletionState=6");
    EXPECT_EQ(verdict(JobState::TERMINATED, false), "CompletionState=7");
}

TEST_F(JobClasses, Result_ofAnIdleLink_isAWarning)
{
    broker::DiagnosticResult shown;
    shown.isPassed = true;
    shown.bytesReceived = {0, 0};
    shown.bytesTransmitted = {0, 0};
    EXPECT_EQ(result(shown)[3], "CompletionState=3");
    shown.isPassed = false;
    EXPECT_EQ(result(shown)[3], "CompletionState=5");
}

}  // namespace
