#include <gtest/gtest.h>

#include <new>

#include "Utils/Singleton.h"

// A separate program: making the instance before main() reads the log level, which other tests want to choose.
namespace {

class Held : public utils::AutoSingleton<Held>
{
public:
    static constexpr const char* qualifiedName = "wa::Held";

    Held() { ++made; }

    static inline int made = 0;
};

// Another static object makes the instance before the holder is constructed.
class HeldEarly : public utils::AutoSingleton<HeldEarly>
{
public:
    static constexpr const char* qualifiedName = "wa::HeldEarly";

    HeldEarly() { ++made; }

    static inline int made = 0;
};

HeldEarly* const earlier = HeldEarly::getInstance();

// Memory runs out while the module is loaded.
class HeldLate : public utils::AutoSingleton<HeldLate>
{
public:
    static constexpr const char* qualifiedName = "wa::HeldLate";

    HeldLate()
    {
        if (++tries == 1) {
            throw std::bad_alloc();
        }
    }

    static inline int tries = 0;
};

}  // namespace

template class utils::AutoSingleton<Held>;
template class utils::AutoSingleton<HeldEarly>;
template class utils::AutoSingleton<HeldLate>;

namespace {

TEST(AutoSingletonTest, Holder_makesTheInstanceBeforeAnyUse)
{
    EXPECT_EQ(Held::made, 1);
    EXPECT_NE(Held::getInstance(), nullptr);
    EXPECT_EQ(Held::made, 1);
}

TEST(AutoSingletonTest, Holder_takesTheInstanceThatIsThere)
{
    EXPECT_EQ(HeldEarly::made, 1);
    EXPECT_EQ(HeldEarly::getInstance(), earlier);
}

TEST(AutoSingletonTest, WithoutMemoryAtLoad_theFirstUseMakesIt)
{
    EXPECT_EQ(HeldLate::tries, 1);
    HeldLate* const held = HeldLate::getInstance();
    EXPECT_NE(held, nullptr);
    EXPECT_EQ(HeldLate::getInstance(), held);
    EXPECT_EQ(HeldLate::tries, 2);
}

}  // namespace
