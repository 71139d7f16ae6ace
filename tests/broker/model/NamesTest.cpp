#include "broker/model/Names.h"

#include <gtest/gtest.h>

namespace {

TEST(Names, Case_doesNotMatter)
{
    EXPECT_TRUE(broker::sameName("Zerix_EthernetPort", "zerix_ETHERNETPORT"));
}

TEST(Names, EachOtherDifference_matters)
{
    EXPECT_FALSE(broker::sameName("Name", "Name1"));
    EXPECT_FALSE(broker::sameName("Name1", "Name"));
    EXPECT_FALSE(broker::sameName("", "N"));
    EXPECT_FALSE(broker::sameName("A_B", "A-B"));
    // Characters next to the letters, at the distance of upper from lower case.
    EXPECT_FALSE(broker::sameName("[", "{"));
    EXPECT_FALSE(broker::sameName("@", "`"));
}

TEST(Names, EmptyNames_areTheSame)
{
    EXPECT_TRUE(broker::sameName("", ""));
}

}  // namespace
