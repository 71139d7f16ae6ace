#include "broker/windows/WindowsJobThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Utils/Exception.h"
#include "support/CountedRefusal.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"
#include "support/Thrown.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;

constexpr std::chrono::milliseconds LONG{60'000};

// Counts its calls, returns the pauses that the test has set, and then has no work left.
class Work : public broker::JobWork
{
public:
    Work(std::chrono::milliseconds pause, int pauses) : m_pause(pause), m_pauses(pauses) {}
    ~Work() = default;
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    std::optional<std::chrono::milliseconds> work() noexcept override
    {
        HANDLE token = nullptr;
        thread = GetCurrentThreadId();
        tokenError = OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token) ? ERROR_SUCCESS : GetLastError();
        return ++calls <= m_pauses ? std::make_optional(m_pause) : std::nullopt;
    }

    bool waitForCalls(int expected) const
    {
        for (int i = 0; i < 500 && calls < expected; ++i) {
            Sleep(10);
        }
        return calls == expected;
    }

    std::atomic<int> calls{0};
    std::atomic<DWORD> thread{0};
    // The error of the last call's question for the identity that its thread impersonates.
    std::atomic<DWORD> tokenError{0};

private:
    std::chrono::milliseconds m_pause;
    int m_pauses;
};

TEST(WindowsJobThread, Work_runsOnASeparateThread)
{
    broker::WindowsJobThread thread;
    Work work(std::chrono::milliseconds{1}, 3);
    EXPECT_TRUE(thread.start(work));
    EXPECT_TRUE(work.waitForCalls(4));
    EXPECT_NE(work.thread, GetCurrentThreadId());
    Sleep(50);
    EXPECT_EQ(work.calls, 4);
}

TEST(WindowsJobThread, EndedThread_canBeStartedAgain)
{
    broker::WindowsJobThread thread;
    Work first(std::chrono::milliseconds{1}, 0);
    EXPECT_TRUE(thread.start(first));
    EXPECT_TRUE(first.waitForCalls(1));
    Work second(std::chrono::milliseconds{1}, 0);
    EXPECT_TRUE(thread.start(second));
    EXPECT_TRUE(second.waitForCalls(1));
}

TEST(WindowsJobThread, Wake_endsTheWait)
{
    broker::WindowsJobThread thread;
    Work work(LONG, 1);
    EXPECT_TRUE(thread.start(work));
    EXPECT_TRUE(work.waitForCalls(1));
    thread.wake();
    EXPECT_TRUE(work.waitForCalls(2));
}

TEST(WindowsJobThread, Thread_hasTheProcessesIdentity)
{
    broker::WindowsJobThread thread;
    Work work(std::chrono::milliseconds{1}, 0);
    ASSERT_TRUE(ImpersonateSelf(SecurityImpersonation));
    const bool started = thread.start(work);
    RevertToSelf();
    ASSERT_TRUE(started);
    ASSERT_TRUE(work.waitForCalls(1));
    EXPECT_EQ(work.tokenError, static_cast<DWORD>(ERROR_NO_TOKEN));
}

TEST(WindowsJobThread, RefusedStart_isLogged)
{
    const support::LogCapture log(1);
    broker::WindowsJobThread thread;
    Work work(std::chrono::milliseconds{1}, 0);
    {
        const support::ImportHook refused("CreateThread",
                                          support::returning<nullptr, ERROR_NOT_ENOUGH_MEMORY>(&CreateThread));
        const support::CountedRefusal<decltype(&FreeLibrary), TRUE> release("FreeLibrary");
        EXPECT_FALSE(thread.start(work));
        EXPECT_EQ(release.calls(), 1);
    }
    const support::ImportHook refused("GetModuleHandleExA",
                                      support::returning<FALSE, ERROR_MOD_NOT_FOUND>(&GetModuleHandleExA));
    EXPECT_FALSE(thread.start(work));
    EXPECT_THAT(log.events(),
                ElementsAre(EndsWith("broker::WindowsJobThread::start: error: CreateThread error 8\n"),
                            EndsWith("broker::WindowsJobThread::start: error: GetModuleHandleEx error 126\n")));
}

TEST(WindowsJobThread, MissingEvent_isAnException)
{
    const support::LogCapture log(1);
    broker::WindowsJobThread thread;
    const support::ImportHook refused("CreateEventA",
                                      support::returning<nullptr, ERROR_NOT_ENOUGH_MEMORY>(&CreateEventA));
    EXPECT_EQ(support::thrownBy([] { const broker::WindowsJobThread another; }), "Could not create event. Error 8");
    EXPECT_THROW(thread.makeSignal(), utils::Exception);
}

TEST(WindowsJobThread, Signal_onceRaised_letsEveryWaitPass)
{
    broker::WindowsJobThread thread;
    const auto signal = thread.makeSignal();
    EXPECT_FALSE(signal->wait(std::chrono::milliseconds{0}));
    std::thread([&signal] { signal->raise(); }).join();
    EXPECT_TRUE(signal->wait(std::chrono::milliseconds::max()));
    EXPECT_TRUE(signal->wait(std::chrono::milliseconds{0}));
}

}  // namespace
