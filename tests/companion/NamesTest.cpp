#include "companion/Names.h"

#include <gtest/gtest.h>

namespace {

TEST(Names, CaseOfLettersDoesNotCount)
{
    EXPECT_TRUE(companion::sameName("Zerix_EthernetPort", "zerix_ETHERNETPORT"));
}

TEST(Names, EveryOtherDifferenceCounts)
{
    EXPECT_FALSE(companion::sameName("Name", "Name1"));
    EXPECT_FALSE(companion::sameName("Name1", "Name"));
    EXPECT_FALSE(companion::sameName("", "N"));
    EXPECT_FALSE(companion::sameName("A_B", "A-B"));
    // Neighbours of the letters, a fixed distance apart as letters of two cases are.
    EXPECT_FALSE(companion::sameName("[", "{"));
    EXPECT_FALSE(companion::sameName("@", "`"));
}

TEST(Names, EmptyNamesAreTheSame)
{
    EXPECT_TRUE(companion::sameName("", ""));
}

}  // namespace
