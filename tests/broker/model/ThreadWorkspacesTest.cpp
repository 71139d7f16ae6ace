#include "broker/model/ThreadWorkspaces.h"

#include <gtest/gtest.h>

#include <thread>

#include "broker/Fakes.h"

namespace {

class ThreadWorkspaces : public testing::Test
{
protected:
    // The job table notices a deletion flag when the job's instance ends. Thus the flag shows the end of the workspace.
    void markTheJob(broker::ThreadWorkspaces& workspaces)
    {
        broker::Workspace& workspace = workspaces.ofThisThread();
        workspace.begin("Zerix_ConcreteJob");
        workspace.job(m_job)->markForDeletion(true);
    }

    fakes::World m_world;
    std::string m_job = m_world.jobs.startDiagnostic(fakes::adapter(1), {}, 1).id;
};

TEST_F(ThreadWorkspaces, Thread_keepsItsWorkspace)
{
    broker::ThreadWorkspaces workspaces(m_world.sources());
    const broker::Workspace* first = &workspaces.ofThisThread();
    EXPECT_EQ(&workspaces.ofThisThread(), first);
}

TEST_F(ThreadWorkspaces, TwoThreads_haveOneEach)
{
    broker::ThreadWorkspaces workspaces(m_world.sources());
    const broker::Workspace* mine = &workspaces.ofThisThread();
    const broker::Workspace* others = nullptr;
    std::thread([&] { others = &workspaces.ofThisThread(); }).join();
    EXPECT_NE(others, mine);
}

TEST_F(ThreadWorkspaces, TwoOfThem_doNotMeet)
{
    broker::ThreadWorkspaces workspaces(m_world.sources());
    broker::ThreadWorkspaces others(m_world.sources());
    const broker::Workspace* mine = &workspaces.ofThisThread();
    EXPECT_NE(&others.ofThisThread(), mine);
    EXPECT_EQ(&workspaces.ofThisThread(), mine);
}

TEST_F(ThreadWorkspaces, ThreadsEnd_endsItsWorkspace)
{
    broker::ThreadWorkspaces workspaces(m_world.sources());
    std::thread([&] { markTheJob(workspaces); }).join();
    EXPECT_TRUE(m_world.jobs.jobs().empty());
}

TEST_F(ThreadWorkspaces, Thread_mayEndLater)
{
    std::thread([&] {
        {
            broker::ThreadWorkspaces workspaces(m_world.sources());
            markTheJob(workspaces);
        }
        EXPECT_TRUE(m_world.jobs.jobs().empty());
        // The first object has ended. The thread uses another one and then ends.
        broker::ThreadWorkspaces(m_world.sources()).ofThisThread();
    }).join();
}

}  // namespace
