#include "Utils/ThreadSlot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

// Counts how often the end of a thread received it.
struct Value
{
    std::atomic<int> ends{0};
};

void countEnd(void* value)
{
    ++static_cast<Value*>(value)->ends;
}

TEST(ThreadSlot, NewThread_startsWithNull)
{
    Value value;
    utils::ThreadSlot slot(&countEnd);
    EXPECT_EQ(slot.get(), nullptr);
    EXPECT_TRUE(slot.set(&value));
    EXPECT_EQ(slot.get(), &value);
    std::thread([&slot] { EXPECT_EQ(slot.get(), nullptr); }).join();
}

TEST(ThreadSlot, EndOfThread_isReportedOnce)
{
    Value value;
    {
        utils::ThreadSlot slot(&countEnd);
        std::thread([&] {
            slot.set(&value);
            slot.set(nullptr);
        }).join();
        EXPECT_EQ(value.ends, 0) << "a thread without a value";
        std::thread([&] { slot.set(&value); }).join();
        EXPECT_EQ(value.ends, 1);
    }
    EXPECT_EQ(value.ends, 1);
}

TEST(ThreadSlot, EndOfSlot_reportsEveryThread)
{
    Value mine;
    Value others;
    std::atomic<bool> isSet{false};
    std::atomic<bool> mayEnd{false};
    auto slot = std::make_unique<utils::ThreadSlot>(&countEnd);
    slot->set(&mine);
    std::thread other([&] {
        slot->set(&others);
        isSet = true;
        while (!mayEnd) {
            std::this_thread::yield();
        }
    });
    while (!isSet) {
        std::this_thread::yield();
    }
    slot.reset();
    EXPECT_EQ(mine.ends, 1);
    EXPECT_EQ(others.ends, 1);
    mayEnd = true;
    other.join();
    EXPECT_EQ(others.ends, 1);
}

}  // namespace
