#include "wmihost/terminal/Lines.h"

#include <gtest/gtest.h>

namespace wmihost {
namespace {

TEST(Lines, Characters_areCodePoints)
{
    EXPECT_EQ(lengthOf("gr\xC3\xBC\xC3\x9F"), 4U);
    EXPECT_EQ(charactersOf("gr\xC3\xBC\xC3\x9F", 1, 2), "r\xC3\xBC");
    EXPECT_EQ(charactersOf("abc", 2, 9), "c");
    EXPECT_EQ(charactersOf("abc", 3, 9), "");
}

TEST(Lines, LongLine_breaksAtBlanks)
{
    EXPECT_EQ(wrapped("one two three", 7), (std::vector<std::string>{"one two", "three"}));
    EXPECT_EQ(wrapped("abcdefgh", 3), (std::vector<std::string>{"abc", "def", "gh"}));
}

TEST(Lines, ContinuedLine_isIndented)
{
    EXPECT_EQ(wrappedLines("short\n    one two three four five\n", 16, 2),
              "short\n    one two\n      three four\n      five\n");
    EXPECT_EQ(wrappedLines("one\n\ntwo\n", 16, 2), "one\n\ntwo\n");
}

TEST(Lines, Lines_withoutAWidth_stay)
{
    EXPECT_EQ(wrappedLines("one two three four five six\n", std::nullopt, 2), "one two three four five six\n");
}

}  // namespace
}  // namespace wmihost
