#include "broker/windows/WindowsJobThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Utils/Exception.h"
#include "support/ImportHook.h"
#include "support/LogCapture.h"

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
        thread = GetCurrentThreadId();
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

private:
    std::chrono::milliseconds m_pause;
    int m_pauses;
};

HANDLE WINAPI noThread(LPSECURITY_ATTRIBUTES /*security*/, SIZE_T /*stack*/, LPTHREAD_START_ROUTINE /*run*/,
                       LPVOID /*argument*/, DWORD /*flags*/, LPDWORD /*id*/)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

BOOL WINAPI noModule(DWORD /*flags*/, LPCSTR /*address*/, HMODULE* /*module*/)
{
    SetLastError(ERROR_MOD_NOT_FOUND);
    return FALSE;
}

HANDLE WINAPI noEvent(LPSECURITY_ATTRIBUTES /*security*/, BOOL /*manual*/, BOOL /*state*/, LPCSTR /*name*/)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

int releases = 0;

BOOL WINAPI countRelease(HMODULE /*module*/)
{
    ++releases;
    return TRUE;
}

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
    class TokenWork : public broker::JobWork
    {
    public:
        ~TokenWork() = default;
        TokenWork() = default;
        TokenWork(const TokenWork&) = delete;
        TokenWork& operator=(const TokenWork&) = delete;
        std::optional<std::chrono::milliseconds> work() noexcept override
        {
            HANDLE token = nullptr;
            hasToken = OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token) != FALSE;
            error = GetLastError();
            isDone = true;
            return std::nullopt;
        }
        bool hasToken = false;
        DWORD error = 0;
        std::atomic<bool> isDone{false};
    };
    broker::WindowsJobThread thread;
    TokenWork work;
    ASSERT_TRUE(ImpersonateSelf(SecurityImpersonation));
    const bool started = thread.start(work);
    RevertToSelf();
    ASSERT_TRUE(started);
    while (!work.isDone) {
        Sleep(1);
    }
    EXPECT_FALSE(work.hasToken);
    EXPECT_EQ(work.error, static_cast<DWORD>(ERROR_NO_TOKEN));
}

TEST(WindowsJobThread, MissingThread_isLogged)
{
    const support::LogCapture log(1);
    const support::ImportHook threadHook("CreateThread", &noThread);
    const support::ImportHook releaseHook("FreeLibrary", &countRelease);
    broker::WindowsJobThread thread;
    Work work(std::chrono::milliseconds{1}, 0);
    EXPECT_FALSE(thread.start(work));
    EXPECT_EQ(releases, 1);
    EXPECT_THAT(log.events(), ElementsAre(EndsWith("broker::WindowsJobThread::start: error: CreateThread error 8\n")));
}

TEST(WindowsJobThread, ModuleThatCannotBeHeld_isLogged)
{
    const support::LogCapture log(1);
    const support::ImportHook hook("GetModuleHandleExA", &noModule);
    broker::WindowsJobThread thread;
    Work work(std::chrono::milliseconds{1}, 0);
    EXPECT_FALSE(thread.start(work));
    EXPECT_THAT(log.events(),
                ElementsAre(EndsWith("broker::WindowsJobThread::start: error: GetModuleHandleEx error 126\n")));
}

TEST(WindowsJobThread, MissingEvent_isAnException)
{
    const support::LogCapture log(1);
    const support::ImportHook hook("CreateEventA", &noEvent);
    try {
        const broker::WindowsJobThread thread;
        FAIL();
    } catch (const utils::Exception& exception) {
        EXPECT_STREQ(exception.what(), "Could not create event. Error 8");
    }
}

TEST(WindowsJobThread, Signal_onceRaised_letsEveryWaitPass)
{
    broker::WindowsJobThread thread;
    const auto signal = thread.makeSignal();
    EXPECT_FALSE(signal->wait(std::chrono::milliseconds{0}));
    std::thread([&signal] { signal->raise(); }).join();
    EXPECT_TRUE(signal->wait(std::chrono::milliseconds::max()));
    EXPECT_TRUE(signal->wait(std::chrono::milliseconds{0}));
    const support::LogCapture log(1);
    const support::ImportHook hook("CreateEventA", &noEvent);
    EXPECT_THROW(thread.makeSignal(), utils::Exception);
}

}  // namespace
