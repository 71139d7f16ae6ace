#include "broker/model/ThreadWorkspaces.h"

#include <gtest/gtest.h>

#include <thread>

#include "broker/Fakes.h"
#include "support/LockCount.h"

namespace {

class ThreadWorkspaces : public testing::Test
{
protected:
    // Makes an instance in this thread's workspace. The end of an instance takes locks.
    void use(broker::ThreadWorkspaces& workspaces)
    {
        workspaces.ofThisThread().begin("Zerix_RegisteredProfile");
        workspaces.ofThisThread().instances("Zerix_RegisteredProfile");
        m_locks = support::locksTaken();
    }

    // Whether instances have ended since.
    bool haveEnded() const { return support::locksTaken() > m_locks; }

    fakes::World m_world;
    std::uint32_t m_locks = 0;
};

TEST_F(ThreadWorkspaces, Thread_hasOneInEachObject)
{
    broker::ThreadWorkspaces workspaces(m_world.sources());
    broker::ThreadWorkspaces others(m_world.sources());
    const broker::Workspace* mine = &workspaces.ofThisThread();
    EXPECT_NE(&others.ofThisThread(), mine);
    std::thread([&] { EXPECT_NE(&workspaces.ofThisThread(), mine); }).join();
    EXPECT_EQ(&workspaces.ofThisThread(), mine);
}

TEST_F(ThreadWorkspaces, Workspace_endsWithItsThread)
{
    broker::ThreadWorkspaces workspaces(m_world.sources());
    std::thread([&] { use(workspaces); }).join();
    EXPECT_TRUE(haveEnded());
}

TEST_F(ThreadWorkspaces, Workspace_endsWithItsObject)
{
    std::thread([&] {
        {
            broker::ThreadWorkspaces workspaces(m_world.sources());
            use(workspaces);
        }
        EXPECT_TRUE(haveEnded());
        // The thread uses another object and ends after both.
        broker::ThreadWorkspaces(m_world.sources()).ofThisThread();
    }).join();
}

}  // namespace
