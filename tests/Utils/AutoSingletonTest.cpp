#include <gtest/gtest.h>

#include "Utils/Singleton.h"

// A program of its own: making the instance before main() reads the log level, which other tests choose.
namespace {

class Held : public utils::AutoSingleton<Held>
{
public:
    static constexpr const char* qualifiedName = "wa::Held";

    Held() { ++made; }

    static inline int made = 0;
};

}  // namespace

template class utils::AutoSingleton<Held>;

namespace {

TEST(AutoSingletonTest, anAutomaticHolderMakesTheInstanceBeforeAnyUse)
{
    EXPECT_EQ(Held::made, 1);
    EXPECT_NE(Held::getInstance(), nullptr);
    EXPECT_EQ(Held::made, 1);
}

TEST(AutoSingletonTest, aLaterInstanceStandsInForTheHeldOneWhileItLives)
{
    Held* const held = Held::getInstance();
    {
        Held other;
        EXPECT_EQ(Held::getInstance(), &other);
    }
    EXPECT_EQ(Held::getInstance(), held);
}

}  // namespace
