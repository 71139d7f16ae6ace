#include "Utils/Singleton.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "support/LockCount.h"
#include "support/LogCapture.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::NotNull;

class Lazy : public utils::AutoSingleton<Lazy>
{
public:
    static constexpr const char* qualifiedName = "wa::Lazy";

    int value = 4711;
};

constexpr const char* NEW_LAZY =
    "debug|Utils/Singleton:68|utils::Singleton<class wa::Lazy>::Singleton|New singleton instance for Lazy";

TEST(SingletonTest, theInstanceIsCreatedOnFirstUseAndStaysTheSame)
{
    const support::LogCapture log;
    Lazy* const instance = Lazy::getInstance();
    ASSERT_THAT(instance, NotNull());
    EXPECT_EQ(instance->value, 4711);
    EXPECT_EQ(Lazy::getInstance(), instance);
    EXPECT_THAT(log.numberedMessages(), ElementsAre(NEW_LAZY));
}

TEST(SingletonTest, aSecondConstructionBecomesCurrentAndItsDeletionMakesTheFirstCurrentAgain)
{
    const support::LogCapture log;
    auto first = std::make_unique<Lazy>();
    EXPECT_EQ(Lazy::getInstance(), first.get());
    {
        const auto second = std::make_unique<Lazy>();
        EXPECT_EQ(Lazy::getInstance(), second.get());
        {
            const auto third = std::make_unique<Lazy>();
            EXPECT_EQ(Lazy::getInstance(), third.get());
        }
        EXPECT_EQ(Lazy::getInstance(), second.get());
    }
    EXPECT_EQ(Lazy::getInstance(), first.get());
    EXPECT_THAT(log.numberedMessages(), ElementsAre(NEW_LAZY, NEW_LAZY, NEW_LAZY));
}

TEST(SingletonTest, afterTheLastDeletionTheNextUseCreatesAnew)
{
    auto first = std::make_unique<Lazy>();
    first->value = 1;
    first.reset();
    EXPECT_EQ(Lazy::getInstance()->value, 4711);
}

TEST(SingletonTest, getInstanceTakesNoLock)
{
    EXPECT_EQ(support::locksTakenBy([] { Lazy::getInstance(); }), 0U) << "on the first use";
    EXPECT_EQ(support::locksTakenBy([] { Lazy::getInstance(); }), 0U) << "on a later one";
}

class Unqualified : public utils::AutoSingleton<Unqualified>
{
public:
    static constexpr const char* qualifiedName = "Unqualified";
};

TEST(SingletonTest, theLogLineNamesTheClassPlainlyAndTheFunctionInFull)
{
    const support::LogCapture log;
    Unqualified::getInstance();
    EXPECT_THAT(log.numberedMessages(), ElementsAre("debug|Utils/Singleton:68|utils::Singleton<class "
                                                    "Unqualified>::Singleton|New singleton instance for Unqualified"));
}

TEST(SingletonTest, nothingIsLoggedBelowLevel2)
{
    const support::LogCapture log(1);
    Lazy::getInstance();
    EXPECT_THAT(log.sequence(), IsEmpty());
}

class Failing : public utils::AutoSingleton<Failing>
{
public:
    static constexpr const char* qualifiedName = "wa::Failing";

    Failing()
    {
        if (fails) {
            throw std::runtime_error("not now");
        }
    }

    static inline bool fails = true;
};

TEST(SingletonTest, aConstructorThatThrowsLeavesNoInstanceBehind)
{
    EXPECT_THROW(Failing::getInstance(), std::runtime_error);
    EXPECT_THROW(Failing::getInstance(), std::runtime_error);
    Failing::fails = false;
    EXPECT_THAT(Failing::getInstance(), NotNull());
}

class FailingFirst : public utils::AutoSingleton<FailingFirst>
{
public:
    static constexpr const char* qualifiedName = "wa::FailingFirst";

    FailingFirst()
    {
        if (constructions.fetch_add(1) == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            throw std::runtime_error("not the first time");
        }
    }

    static inline std::atomic<int> constructions{0};

    int value = 4711;
};

TEST(SingletonTest, aThreadThatWaitsForAnotherThreadsConstructionMakesItsOwnWhenThatThrows)
{
    std::thread first([] { EXPECT_THROW(FailingFirst::getInstance(), std::runtime_error); });
    while (FailingFirst::constructions == 0) {
        std::this_thread::yield();
    }
    FailingFirst* const instance = FailingFirst::getInstance();
    first.join();
    EXPECT_EQ(FailingFirst::constructions, 2);
    EXPECT_EQ(instance->value, 4711);
    EXPECT_EQ(FailingFirst::getInstance(), instance);
}

class Slow : public utils::AutoSingleton<Slow>
{
public:
    static constexpr const char* qualifiedName = "wa::Slow";

    Slow()
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        whole = true;
    }

    bool whole = false;
};

TEST(SingletonTest, threadsThatMeetOnTheFirstUseGetWholeObjects)
{
    std::vector<char> whole(8);
    std::vector<std::thread> threads;
    for (char& found : whole) {
        threads.emplace_back([&found] {
            std::this_thread::sleep_for(std::chrono::milliseconds(5 * (reinterpret_cast<std::uintptr_t>(&found) % 8)));
            found = static_cast<char>(Slow::getInstance()->whole);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(whole, Each(1));
    EXPECT_TRUE(Slow::getInstance()->whole);
}

}  // namespace
