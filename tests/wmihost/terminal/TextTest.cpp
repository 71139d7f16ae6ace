#include "wmihost/terminal/Text.h"

#include <gtest/gtest.h>

#include <limits>

namespace wmihost {
namespace {

TEST(Text, Utf8_becomesUtf16AndBack)
{
    EXPECT_EQ(toWide("gr\xC3\xBC\xC3\x9F \xF0\x9F\x94\x8C"), L"gr\u00FC\u00DF \xD83D\xDD0C");
    EXPECT_EQ(toUtf8(L"gr\u00FC\u00DF \xD83D\xDD0C"), "gr\xC3\xBC\xC3\x9F \xF0\x9F\x94\x8C");
    EXPECT_EQ(toWide(""), L"");
    EXPECT_EQ(toUtf8(L""), "");
}

TEST(Text, Names_areComparedWithoutCase)
{
    EXPECT_TRUE(sameName(L"InstanceID", L"instanceid"));
    EXPECT_FALSE(sameName(L"InstanceID", L"InstanceI"));
    EXPECT_FALSE(sameName(L"a", L""));
    EXPECT_EQ(foldName(L"Name_1"), L"NAME_1");
    EXPECT_TRUE(nameBefore(L"abc", L"ABD"));
    EXPECT_FALSE(nameBefore(L"ABC", L"abc"));
}

TEST(Text, UnsignedNumber_isDecimalOrHexadecimal)
{
    EXPECT_EQ(parseUnsigned(L"0"), 0ULL);
    EXPECT_EQ(parseUnsigned(L"007"), 7ULL);
    EXPECT_EQ(parseUnsigned(L"18446744073709551615"), 18446744073709551615ULL);
    EXPECT_EQ(parseUnsigned(L"0xfF"), 255ULL);
    for (const auto* text : {L"", L"-1", L"+1", L" 1", L"1 ", L"1a", L"0x", L"0xg", L"18446744073709551616"}) {
        EXPECT_EQ(parseUnsigned(text), std::nullopt) << toUtf8(text);
    }
}

TEST(Text, SignedNumber_isReadUpToItsLimits)
{
    EXPECT_EQ(parseSigned(L"-9223372036854775808"), std::numeric_limits<long long>::min());
    EXPECT_EQ(parseSigned(L"9223372036854775807"), std::numeric_limits<long long>::max());
    EXPECT_EQ(parseSigned(L"+5"), 5);
    EXPECT_EQ(parseSigned(L"-9223372036854775809"), std::nullopt);
    EXPECT_EQ(parseSigned(L"9223372036854775808"), std::nullopt);
    EXPECT_EQ(parseSigned(L"--1"), std::nullopt);
}

}  // namespace
}  // namespace wmihost
