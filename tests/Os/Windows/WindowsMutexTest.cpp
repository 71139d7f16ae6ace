#include <gmock/gmock.h>

#include <memory>
#include <thread>

#include "Os/Windows/Platform.h"
#include "Utils/Containers.h"
#include "Utils/Exception.h"
#include "Utils/Mutex.h"
#include "Utils/Utils.h"
#include "support/ImportHook.h"
#include "support/LockCount.h"
#include "support/LogCapture.h"
#include "support/Thrown.h"

namespace {

using support::ImportHook;
using support::locksReleased;
using support::locksTaken;
using support::returning;
using testing::ElementsAre;
using testing::IsEmpty;

std::string errorLine(const char* function, const std::string& text)
{
    return utils::format("error|Os/Windows/WindowsMutex|utils::Mutex::%s|%s", function, text.c_str());
}

std::string lockingFailed(const char* function, const utils::Mutex& mutex, int error)
{
    return errorLine(function,
                     utils::format("Error locking mutex %p. Error %d", static_cast<const void*>(&mutex), error));
}

TEST(WindowsMutexTest, FailedCreation_isLoggedAndThrown)
{
    const support::LogCapture log;
    const ImportHook hook("CreateMutexA", returning<nullptr, ERROR_NOT_ENOUGH_MEMORY>(&CreateMutexA));
    alignas(utils::Mutex) std::array<std::byte, sizeof(utils::Mutex)> place{};
    const std::string text =
        utils::format("Could not create mutex %p. Error 8", static_cast<const void*>(place.data()));
    EXPECT_EQ(support::thrownBy([&] { new (place.data()) utils::Mutex; }), "DRAVEv2: " + text);
    EXPECT_THAT(log.messages(),
                ElementsAre(errorLine("Mutex", text), "error|Exception|utils::Exception::Exception|" + text));
}

TEST(WindowsMutexTest, List_movedWithoutAMutex_keepsItsElements)
{
    const support::LogCapture log;
    utils::SafeList<int*> list;
    int element = 4711;
    list.append(&element);
    {
        const ImportHook hook("CreateMutexA", returning<nullptr, ERROR_NOT_ENOUGH_MEMORY>(&CreateMutexA));
        EXPECT_THROW(utils::SafeList<int*>(std::move(list)), utils::Exception);
    }
    EXPECT_EQ(list.getIterator().next(), &element);  // NOLINT(bugprone-use-after-move): nothing was moved
}

DWORD timeoutOfWait = 0;

DWORD WINAPI failWait(HANDLE /*handle*/, DWORD timeout)
{
    timeoutOfWait = timeout;
    SetLastError(ERROR_ACCESS_DENIED);
    return WAIT_FAILED;
}

TEST(WindowsMutexTest, FailedWait_isLoggedAndCounted)
{
    const support::LogCapture log;
    utils::Mutex mutex;
    const std::uint32_t taken = locksTaken();
    const std::uint32_t released = locksReleased();
    {
        const ImportHook release("ReleaseMutex", returning<TRUE>(&ReleaseMutex));
        const ImportHook wait("WaitForSingleObject", &failWait);
        const utils::MutexGuard guard(mutex);
        EXPECT_EQ(locksTaken() - taken, 1U);
    }
    EXPECT_EQ(timeoutOfWait, INFINITE);
    EXPECT_EQ(locksReleased() - released, 1U);
    EXPECT_THAT(log.messages(), ElementsAre(lockingFailed("Lock", mutex, ERROR_ACCESS_DENIED)));
}

TEST(WindowsMutexTest, FailedRelease_isLoggedAsAFailedLock)
{
    const support::LogCapture log;
    utils::Mutex mutex;
    const std::uint32_t released = locksReleased();
    {
        const ImportHook wait("WaitForSingleObject", returning<WAIT_OBJECT_0>(&WaitForSingleObject));
        // The thread does not own the mutex, so the platform refuses to release it.
        const utils::MutexGuard guard(mutex);
    }
    EXPECT_EQ(locksReleased() - released, 1U);
    EXPECT_THAT(log.messages(), ElementsAre(lockingFailed("Unlock", mutex, ERROR_NOT_OWNER)));
}

TEST(WindowsMutexTest, FailedClose_isLoggedAndNotThrown)
{
    const support::LogCapture log;
    auto mutex = std::make_unique<utils::Mutex>();
    const std::string text = utils::format("Could not close mutex %p. Error 6", static_cast<const void*>(mutex.get()));
    {
        const ImportHook hook("CloseHandle", returning<FALSE, ERROR_INVALID_HANDLE>(&CloseHandle));
        mutex.reset();
    }
    EXPECT_THAT(log.messages(), ElementsAre(errorLine("~Mutex", text)));
}

HANDLE createdHandle = nullptr;
HANDLE closedHandle = nullptr;

HANDLE WINAPI keepCreated(LPSECURITY_ATTRIBUTES security, BOOL owned, LPCSTR name)
{
    EXPECT_TRUE(security == nullptr && !owned && name == nullptr);
    return createdHandle = CreateMutexW(nullptr, FALSE, nullptr);
}

BOOL WINAPI keepClosed(HANDLE handle)
{
    closedHandle = handle;
    return TRUE;
}

TEST(WindowsMutexTest, Mutex_isUnnamedAndClosedAtItsEnd)
{
    const support::LogCapture log;
    const ImportHook create("CreateMutexA", &keepCreated);
    {
        const ImportHook close("CloseHandle", &keepClosed);
        utils::Mutex mutex;
        const utils::MutexGuard guard(mutex);
        EXPECT_EQ(closedHandle, nullptr);
    }
    ASSERT_NE(createdHandle, nullptr);
    EXPECT_EQ(closedHandle, createdHandle);
    CloseHandle(createdHandle);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(WindowsMutexTest, AbandonedMutex_isLoggedAndOwned)
{
    const support::LogCapture log;
    const ImportHook create("CreateMutexA", &keepCreated);
    utils::Mutex mutex;
    // A thread that takes the mutex and ends without releasing it.
    std::thread([] { WaitForSingleObject(createdHandle, INFINITE); }).join();
    SetLastError(0);
    {
        const utils::MutexGuard guard(mutex);
        EXPECT_THAT(log.messages(), ElementsAre(lockingFailed("Lock", mutex, 0)));
        DWORD othersAnswer = WAIT_OBJECT_0;
        std::thread([&] { othersAnswer = WaitForSingleObject(createdHandle, 0); }).join();
        EXPECT_EQ(othersAnswer, static_cast<DWORD>(WAIT_TIMEOUT));
    }
    const utils::MutexGuard again(mutex);
    EXPECT_THAT(log.messages(), testing::SizeIs(1)) << "neither the release nor the next lock fails";
}

}  // namespace
