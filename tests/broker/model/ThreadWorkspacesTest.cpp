#include "broker/model/WorkspacePool.h"

#include <gtest/gtest.h>

#include <thread>

#include "broker/Fakes.h"

namespace {

class WorkspacePool : public testing::Test
{
protected:
    std::unique_ptr<broker::WorkspacePool> newPool()
    {
        return std::make_unique<broker::WorkspacePool>([this] {
            ++m_made;
            return std::make_unique<broker::Workspace>(m_world.sources());
        });
    }

    fakes::World m_world;
    int m_made = 0;
};

TEST_F(WorkspacePool, ThreadKeepsItsWorkspace)
{
    const auto pool = newPool();
    const broker::Workspace* first = &pool->lease();
    EXPECT_EQ(&pool->lease(), first);
    EXPECT_EQ(m_made, 1);
}

TEST_F(WorkspacePool, ThreadsHaveWorkspacesOfTheirOwn)
{
    const auto pool = newPool();
    const broker::Workspace* mine = &pool->lease();
    const broker::Workspace* others = nullptr;
    std::thread([&] { others = &pool->lease(); }).join();
    EXPECT_NE(others, mine);
    EXPECT_EQ(m_made, 2);
}

TEST_F(WorkspacePool, EndedThreadsWorkspaceIsLeasedAgain)
{
    const auto pool = newPool();
    const broker::Workspace* first = nullptr;
    const broker::Workspace* second = nullptr;
    std::thread([&] { first = &pool->lease(); }).join();
    std::thread([&] { second = &pool->lease(); }).join();
    EXPECT_EQ(second, first);
    EXPECT_EQ(m_made, 1);
}

TEST_F(WorkspacePool, LeasesOfTwoPoolsDoNotMeet)
{
    const auto pool = newPool();
    const auto otherPool = newPool();
    const broker::Workspace* mine = &pool->lease();
    EXPECT_NE(&otherPool->lease(), mine);
    EXPECT_EQ(&pool->lease(), mine);
}

TEST_F(WorkspacePool, ThreadMayEndAfterThePool)
{
    std::thread([&] {
        newPool()->lease();
        // The pool is gone; the thread leases from another one and then ends.
        newPool()->lease();
    }).join();
    EXPECT_EQ(m_made, 2);
}

TEST_F(WorkspacePool, FailedConstructionLeavesThePoolUsable)
{
    bool fails = true;
    broker::WorkspacePool pool([&] {
        if (fails) {
            throw std::bad_alloc();
        }
        return std::make_unique<broker::Workspace>(m_world.sources());
    });
    EXPECT_THROW(pool.lease(), std::bad_alloc);
    fails = false;
    EXPECT_NO_THROW(pool.lease());
}

}  // namespace
