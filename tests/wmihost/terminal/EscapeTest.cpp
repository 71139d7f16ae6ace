#include "wmihost/terminal/Escape.h"

#include <gtest/gtest.h>

namespace wmihost {
namespace {

TEST(Escape, ControlCharacters_areSpelled)
{
    EXPECT_EQ(visible("a\x1b[2Jb"), "a\\x1B[2Jb");
    EXPECT_EQ(visible("one\r\ntwo\t\x07\x7f"), "one\\r\\ntwo\\t\\x07\\x7F");
    EXPECT_EQ(visible(std::string("a\0b", 3)), "a\\x00b");
}

TEST(Escape, C1AndBidirectionalMarks_areSpelled)
{
    EXPECT_EQ(visible("\xC2\x9B"
                      "31m"),
              "\\x9B31m");
    EXPECT_EQ(visible("\xE2\x80\xAE"
                      "exe.txt"),
              "\\u202Eexe.txt");
    EXPECT_EQ(visible("\xE2\x81\xA6\xE2\x80\x8F\xD8\x9C\xE2\x80\xA8"), "\\u2066\\u200F\\u061C\\u2028");
}

TEST(Escape, OtherText_stays)
{
    const std::string text =
        "Gr\xC3\xBC\xC3\x9F"
        "e \\x1B \xE2\x80\xA6 \xF0\x9F\x98\x80";
    EXPECT_EQ(visible(text), text);
    EXPECT_EQ(visibleLines(text), text);
    EXPECT_EQ(withEscapes(text, "\\u"), text);
}

TEST(Escape, EndsOfLines_stayInSeveralLines)
{
    EXPECT_EQ(visibleLines("one\ntwo\r\nthree\rfour\n"), "one\ntwo\r\nthree\\rfour\n");
}

TEST(Escape, EscapesOfALanguage_haveFourDigits)
{
    EXPECT_EQ(withEscapes("\"\xC2\x9B\x7f\"\n", "\\u"), "\"\\u009b\\u007f\"\n");
    EXPECT_EQ(withEscapes("\"\xE2\x80\xAE\"", "\\x"), "\"\\x202e\"");
}

}  // namespace
}  // namespace wmihost
