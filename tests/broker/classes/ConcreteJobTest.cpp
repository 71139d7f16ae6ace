#include "broker/ClassTest.h"

namespace {

using broker::JobState;
using testing::ElementsAre;

class ConcreteJob : public fakes::ClassTest
{
protected:
    ConcreteJob() : ClassTest("Zerix_ConcreteJob") { m_world.adapters.set({fakes::adapter(1)}); }

    // Starts a job that takes five samples, one per second.
    void start() { m_id = m_world.jobs.startDiagnostic(fakes::adapter(1), {}, 5).id; }

    void takeSamples(int count)
    {
        for (int i = 0; i < count; ++i) {
            m_world.machine.pass(std::chrono::seconds{1});
            m_world.thread.play();
        }
    }

    std::string m_id;
};

TEST_F(ConcreteJob, RunningJob_showsItsProgress)
{
    start();
    takeSamples(2);
    EXPECT_THAT(values(), ElementsAre("InstanceID=Vexal:Job:1700000000000000-1", "Name=Link Diagnostic",
                                      "Description=Link diagnostic of eth1", "JobStatus=Running", "Owner=HOST\\admin",
                                      "JobState=4", "PercentComplete=40", "ErrorCode=0", "ErrorDescription=null",
                                      "Priority=0", "StartTime=at 1700000000000000", "ElapsedTime=for 2000000",
                                      "TimeBeforeRemoval=for 300000000", "DeleteOnCompletion=true"));
}

TEST_F(ConcreteJob, CompletedJob_saysSo)
{
    start();
    takeSamples(5);
    EXPECT_EQ(value("JobStatus"), "Completed");
    EXPECT_EQ(value("JobState"), "7");
    EXPECT_EQ(value("PercentComplete"), "100");
}

TEST_F(ConcreteJob, TerminatedJob_saysSo)
{
    start();
    m_world.jobs.end(m_id, JobState::TERMINATED);
    EXPECT_EQ(value("JobStatus"), "Terminated");
}

TEST_F(ConcreteJob, KilledJob_saysSoAndHasNoError)
{
    start();
    m_world.jobs.end(m_id, JobState::KILLED);
    EXPECT_EQ(value("JobStatus"), "Killed");
    EXPECT_EQ(value("ErrorCode"), "0");
}

TEST_F(ConcreteJob, FailedJob_saysWhy)
{
    start();
    m_world.adapters.set(std::vector<broker::Adapter>());
    takeSamples(1);
    EXPECT_EQ(value("JobStatus"), "Failed: The adapter is gone or cannot be read");
    EXPECT_EQ(value("ErrorCode"), "1");
    EXPECT_EQ(value("ErrorDescription"), "The adapter is gone or cannot be read");
}

TEST_F(ConcreteJob, UnknownOwner_isNull)
{
    m_world.machine.setUser("");
    start();
    EXPECT_EQ(value("Owner"), "null");
}

TEST_F(ConcreteJob, MarkedInstance_deletesTheJob)
{
    start();
    instance().markForDeletion(true);
    EXPECT_TRUE(m_world.jobs.jobs().empty());
}

}  // namespace
