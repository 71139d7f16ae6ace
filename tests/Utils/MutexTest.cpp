#include "Utils/Mutex.h"

#include <gtest/gtest.h>

#include <thread>
#include <type_traits>

#include "support/LockCount.h"
#include "support/Together.h"

namespace {

static_assert(!std::is_copy_constructible_v<utils::Mutex> && !std::is_copy_assignable_v<utils::Mutex>);
static_assert(!std::is_copy_constructible_v<utils::MutexGuard>);
static_assert(std::has_virtual_destructor_v<utils::Mutex>);
static_assert(sizeof(utils::Mutex) == 2 * sizeof(void*), "the virtual table and the handle, nothing else");
static_assert(sizeof(utils::MutexGuard) == sizeof(void*));

TEST(MutexTest, Thread_mayTakeAMutexThatItHolds)
{
    utils::Mutex mutex;
    const std::uint32_t taken = support::locksTaken();
    const std::uint32_t released = support::locksReleased();
    {
        const utils::MutexGuard outer(mutex);
        {
            const utils::MutexGuard inner(mutex);
            EXPECT_EQ(support::locksTaken() - taken, 2U);
            EXPECT_EQ(support::locksReleased() - released, 0U);
        }
        EXPECT_EQ(support::locksReleased() - released, 1U);
    }
    EXPECT_EQ(support::locksReleased() - released, 2U);
}

TEST(MutexTest, Guards_keepThreadsApart)
{
    utils::Mutex mutex;
    int counter = 0;
    support::runTogether(4, [&](int /*thread*/) {
        for (int step = 0; step < 200; ++step) {
            const utils::MutexGuard guard(mutex);
            const int seen = counter;
            std::this_thread::yield();
            counter = seen + 1;
        }
    });
    EXPECT_EQ(counter, 800);
}

}  // namespace
