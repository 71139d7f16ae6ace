#include "broker/windows/WindowsJobHosts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <thread>

#include "support/ImportHook.h"
#include "support/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;

// Waits for the lock in another thread and gives it back.
void lockElsewhere()
{
    std::thread([] {
        broker::WindowsJobHosts other;
        other.lock();
        other.unlock();
    }).join();
}

TEST(WindowsJobHosts, OwnName_isProcessIdAndStartTime)
{
    broker::WindowsJobHosts hosts;
    EXPECT_TRUE(std::regex_match(hosts.own(), std::regex(std::to_string(GetCurrentProcessId()) + "-[0-9]{17,19}")));
    EXPECT_EQ(hosts.own(), broker::WindowsJobHosts().own());
}

TEST(WindowsJobHosts, Host_isAliveFromItsAnnouncementOn)
{
    broker::WindowsJobHosts other;
    {
        broker::WindowsJobHosts hosts;
        EXPECT_FALSE(other.isAlive(hosts.own()));
        EXPECT_TRUE(hosts.announce());
        EXPECT_TRUE(hosts.announce());
        EXPECT_TRUE(other.isAlive(hosts.own()));
        EXPECT_FALSE(other.isAlive(hosts.own() + "0"));
    }
    EXPECT_FALSE(other.isAlive(other.own()));
}

TEST(WindowsJobHosts, HostThatMayNotBeSeen_isAlive)
{
    const support::ImportHook hidden("OpenMutexA", support::returning<nullptr, ERROR_ACCESS_DENIED>(&OpenMutexA));
    EXPECT_TRUE(broker::WindowsJobHosts().isAlive("1-1"));
}

TEST(WindowsJobHosts, RefusedAnnouncement_isLogged)
{
    const support::LogCapture log(1);
    const support::ImportHook refused("CreateMutexA", support::returning<nullptr, ERROR_ACCESS_DENIED>(&CreateMutexA));
    EXPECT_FALSE(broker::WindowsJobHosts().announce());
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("error: Jobs will not survive this process, which other hosts would "
                                                   "take for ended. Error 5\n")));
}

TEST(WindowsJobHosts, Lock_isExclusiveAndMayBeNested)
{
    broker::WindowsJobHosts hosts;
    hosts.lock();
    hosts.lock();
    hosts.unlock();
    support::LogCapture log(1);
    lockElsewhere();
    EXPECT_THAT(log.events(), ElementsAre(testing::HasSubstr("error: Stored jobs are changed without a lock. Result "
                                                             "258, error ")));
    log.clear();
    hosts.unlock();
    lockElsewhere();
    EXPECT_THAT(log.events(), testing::IsEmpty());
}

TEST(WindowsJobHosts, LockOfAThreadThatEnded_isTakenOver)
{
    broker::WindowsJobHosts gone;
    std::thread([&gone] { gone.lock(); }).join();
    const support::LogCapture log(1);
    broker::WindowsJobHosts hosts;
    hosts.lock();
    hosts.unlock();
    EXPECT_THAT(log.events(), testing::IsEmpty());
}

TEST(WindowsJobHosts, RefusedLock_isLoggedAndTheCallerGoesOn)
{
    const support::LogCapture log(1);
    const support::ImportHook refused("CreateMutexA", support::returning<nullptr, ERROR_ACCESS_DENIED>(&CreateMutexA));
    broker::WindowsJobHosts hosts;
    hosts.lock();
    hosts.unlock();
    EXPECT_THAT(log.events(),
                ElementsAre(testing::HasSubstr("error: Stored jobs are changed without a lock. Result -1")));
}

}  // namespace
