#include "broker/model/Names.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

TEST(Names, Case_aloneDoesNotMatter)
{
    EXPECT_TRUE(broker::sameName("Zerix_EthernetPort", "zerix_ETHERNETPORT"));
    EXPECT_TRUE(broker::sameName("", ""));
    // The last two are next to the letters, at the distance of upper from lower case.
    for (const auto& [left, right] :
         {std::pair{"Name", "Name1"}, {"Name1", "Name"}, {"A_B", "A-B"}, {"[", "{"}, {"@", "`"}})
    {
        EXPECT_FALSE(broker::sameName(left, right)) << left << " " << right;
    }
}

}  // namespace
