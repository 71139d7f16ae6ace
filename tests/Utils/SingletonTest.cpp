#include "Utils/Singleton.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "support/LockCount.h"
#include "support/LogCapture.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::NotNull;

class Lazy : public utils::AutoSingleton<Lazy>
{
public:
    static constexpr const char* qualifiedName = "wa::Lazy";

    int value = 4711;
};

constexpr const char* NEW_LAZY =
    "debug|Utils/Singleton:68|utils::Singleton<class wa::Lazy>::Singleton|New singleton instance for Lazy";

TEST(SingletonTest, FirstUse_createsTheInstance)
{
    const support::LogCapture log;
    Lazy* const instance = Lazy::getInstance();
    ASSERT_THAT(instance, NotNull());
    EXPECT_EQ(instance->value, 4711);
    EXPECT_EQ(Lazy::getInstance(), instance);
    EXPECT_THAT(log.numberedMessages(), ElementsAre(NEW_LAZY));
}

TEST(SingletonTest, SecondInstance_isCurrentWhileItLives)
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
    first->value = 1;
    first.reset();
    EXPECT_EQ(Lazy::getInstance()->value, 4711) << "a new one";
}

TEST(SingletonTest, GetInstance_takesNoLock)
{
    EXPECT_EQ(support::locksTakenBy([] { Lazy::getInstance(); }), 0U) << "on the first use";
    EXPECT_EQ(support::locksTakenBy([] { Lazy::getInstance(); }), 0U) << "on a later one";
}

class Unqualified : public utils::AutoSingleton<Unqualified>
{
public:
    static constexpr const char* qualifiedName = "Unqualified";
};

TEST(SingletonTest, LogLine_namesTheClassPlainly)
{
    const support::LogCapture log;
    Unqualified::getInstance();
    EXPECT_THAT(log.numberedMessages(), ElementsAre("debug|Utils/Singleton:68|utils::Singleton<class "
                                                    "Unqualified>::Singleton|New singleton instance for Unqualified"));
}

// A meeting point of threads: one is inside a constructor while the others call getInstance. The constructor continues
// when each of the others either waits or has returned without waiting.
class Meeting
{
public:
    explicit Meeting(int visitors) : m_missing(visitors) { current = this; }
    Meeting(const Meeting&) = delete;
    Meeting& operator=(const Meeting&) = delete;
    ~Meeting() { current = nullptr; }

    // Called in the constructor: lets the visitors start and waits for them.
    void hold()
    {
        m_begun.set_value();
        m_everybodyIsHere.get_future().wait();
    }

    // Called by the test: waits until a constructor has started.
    void waitForConstructor() { m_begun.get_future().wait(); }

    // Called by each visitor when it waits or has returned. Only its first call counts.
    void arrive()
    {
        if (!std::exchange(counted, true) && m_missing.fetch_sub(1) == 1) {
            m_everybodyIsHere.set_value();
        }
    }

    static inline std::atomic<Meeting*> current{nullptr};

private:
    static inline thread_local bool counted = false;

    std::atomic<int> m_missing;
    std::promise<void> m_begun;
    std::promise<void> m_everybodyIsHere;
};

}  // namespace

// A waiting thread gives up its time slice. The linker replaces the platform's function by this one for the whole
// program.
extern "C" int __wrap_sched_yield()
{
    if (Meeting* const meeting = Meeting::current) {
        meeting->arrive();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return 0;
}

namespace {

constexpr int VISITORS = 7;

// Several threads request the instance while one thread constructs it. Returns what the visitors received.
template <class T>
std::vector<T*> meetInConstructorOf(const std::function<void()>& maker)
{
    Meeting meeting(VISITORS);
    std::thread making(maker);
    meeting.waitForConstructor();
    std::vector<T*> found(VISITORS);
    std::vector<std::thread> visitors;
    for (T*& instance : found) {
        visitors.emplace_back([&instance, &meeting] {
            T* const asked = T::getInstance();
            // Without waiting, this thread would read the value before the constructor continues.
            instance = asked->whole ? asked : nullptr;
            meeting.arrive();
        });
    }
    for (std::thread& visitor : visitors) {
        visitor.join();
    }
    making.join();
    return found;
}

class Slow : public utils::AutoSingleton<Slow>
{
public:
    static constexpr const char* qualifiedName = "wa::Slow";

    Slow()
    {
        ++constructions;
        Meeting::current.load()->hold();
        whole = true;
    }

    static inline std::atomic<int> constructions{0};

    std::atomic<bool> whole{false};
};

TEST(SingletonTest, ThreadsThatMeetAConstruction_waitForIt)
{
    const std::vector<Slow*> found = meetInConstructorOf<Slow>([] { Slow::getInstance(); });
    EXPECT_THAT(found, Each(Slow::getInstance()));
    EXPECT_EQ(Slow::constructions, 1);
}

class FailingFirst : public utils::AutoSingleton<FailingFirst>
{
public:
    static constexpr const char* qualifiedName = "wa::FailingFirst";

    FailingFirst()
    {
        if (constructions.fetch_add(1) == 0) {
            Meeting::current.load()->hold();
            throw std::runtime_error("not the first time");
        }
        whole = true;
    }

    static inline std::atomic<int> constructions{0};

    std::atomic<bool> whole{false};
};

TEST(SingletonTest, ConstructorThatThrows_letsTheNextThreadTry)
{
    const std::vector<FailingFirst*> found =
        meetInConstructorOf<FailingFirst>([] { EXPECT_THROW(FailingFirst::getInstance(), std::runtime_error); });
    EXPECT_THAT(found, Each(FailingFirst::getInstance()));
    EXPECT_EQ(FailingFirst::constructions, 2);
}

class AsksWhileItIsMade : public utils::AutoSingleton<AsksWhileItIsMade>
{
public:
    static constexpr const char* qualifiedName = "wa::AsksWhileItIsMade";

    AsksWhileItIsMade() : itself(getInstance()), another(Lazy::getInstance()) {}

    AsksWhileItIsMade* itself;
    Lazy* another;
};

TEST(SingletonTest, Constructor_mayUseSingletons)
{
    AsksWhileItIsMade* const instance = AsksWhileItIsMade::getInstance();
    EXPECT_EQ(instance->itself, instance);
    EXPECT_EQ(instance->another, Lazy::getInstance());
}

}  // namespace
