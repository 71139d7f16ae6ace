#include "Utils/Utils.h"

#include <gmock/gmock.h>

#include "support/LogCapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(FormatTest, Format_isLikePrintf)
{
    EXPECT_EQ(utils::format("%s-%d-%04x-%%", "a", -1, 31U), "a--1-001f-%");
    EXPECT_EQ(utils::format("%s", ""), "");
    EXPECT_EQ(utils::format("%llu", 18446744073709551615ULL), "18446744073709551615");
}

TEST(FormatTest, Format_of511Characters_isWhole)
{
    EXPECT_EQ(utils::format("%s", std::string(511, 'a').c_str()), std::string(511, 'a'));
}

TEST(FormatTest, Format_ofMore_isCutTo511Characters)
{
    for (const std::size_t size : {512U, 513U, 600U, 5000U}) {
        EXPECT_EQ(utils::format("%sb", std::string(size - 1, 'a').c_str()), std::string(511, 'a')) << size;
    }
}

struct ToUintCase
{
    const char* text;
    bool accepted;
    std::uint32_t number;
};

TEST(ToUintTest, ToUint_readsWhatItWouldWrite)
{
    const std::vector<ToUintCase> cases{
        {"42", true, 42},
        {"0", true, 0},
        {"  \t42\t ", true, 42},
        {"2147483647", true, 2147483647},
        {"2147483648", false, 0},
        {"4294967295", false, 0},
        {"4294967296", false, 0},
        {"-1", true, 4294967295U},
        {"-2147483648", true, 2147483648U},
        {"007", false, 0},
        {"+7", false, 0},
        {"-0", false, 0},
        {"7 apples", false, 0},
        {"1e3", false, 0},
        {"7\n", false, 0},
        {"", false, 0},
        {" \t ", false, 0},
        {"apples", false, 0},
        {"-", false, 0},
        {"0x1F", true, 31},
        {"0x001f", true, 31},
        {"0XfF", true, 255},
        {"0x0", true, 0},
        {"0xFFFFFFFF", true, 4294967295U},
        {"0x100000000", false, 0},
        {"0x", false, 0},
        {"0x1g", false, 0},
        {"x1", false, 0},
        {"1F", false, 0},
    };
    for (const ToUintCase& testCase : cases) {
        constexpr std::uint32_t UNTOUCHED = 4711;
        std::uint32_t number = UNTOUCHED;
        EXPECT_EQ(utils::toUint(testCase.text, &number), testCase.accepted) << testCase.text;
        EXPECT_EQ(number, testCase.accepted ? testCase.number : UNTOUCHED) << testCase.text;
    }
}

TEST(ToUintTest, ToUint_hexadecimal_isLoggedTrimmed)
{
    const support::LogCapture log;
    std::uint32_t number = 0;
    utils::toUint(" 0x1F ", &number);
    EXPECT_THAT(log.messages(), ElementsAre("debug|Utils/Utils|utils::toUint|HEX: 0x1F"));
}

TEST(ToUintTest, ToUint_differentRoundTrip_isLogged)
{
    const support::LogCapture log;
    std::uint32_t number = 0;
    utils::toUint(" 4294967295\t", &number);
    utils::toUint("007", &number);
    EXPECT_THAT(log.messages(), ElementsAre("debug|Utils/Utils|utils::toUint|CONV: -1 <> 4294967295",
                                            "debug|Utils/Utils|utils::toUint|CONV: 7 <> 007"));
}

TEST(ToUintTest, ToUint_decimalOrNoNumber_isNotLogged)
{
    const support::LogCapture log;
    std::uint32_t number = 0;
    utils::toUint("42", &number);
    utils::toUint("apples", &number);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(ToUintTest, HexWithNothingBehindIt_isLoggedOnce)
{
    const support::LogCapture log;
    std::uint32_t number = 0;
    utils::toUint("0x", &number);
    EXPECT_THAT(log.messages(), ElementsAre("debug|Utils/Utils|utils::toUint|HEX: 0x"));
}

TEST(ToUintTest, HexWithMoreBehindIt_isLoggedTwice)
{
    const support::LogCapture log;
    std::uint32_t number = 0;
    utils::toUint("0x1g", &number);
    EXPECT_THAT(log.messages(), ElementsAre("debug|Utils/Utils|utils::toUint|HEX: 0x1g",
                                            "debug|Utils/Utils|utils::toUint|CONV: 0x01 <> 0x1g"));
}

TEST(ToUint64Test, ToUint64_readsTheLeadingDigits)
{
    EXPECT_EQ(utils::toUint64("0"), 0U);
    EXPECT_EQ(utils::toUint64("123abc"), 123U);
    EXPECT_EQ(utils::toUint64("007"), 7U);
    EXPECT_EQ(utils::toUint64("18446744073709551615"), 18446744073709551615U);
}

TEST(ToUint64Test, ToUint64_withoutFirstDigit_isZero)
{
    EXPECT_EQ(utils::toUint64(""), 0U);
    EXPECT_EQ(utils::toUint64(" 7"), 0U);
    EXPECT_EQ(utils::toUint64("-7"), 0U);
    EXPECT_EQ(utils::toUint64("+7"), 0U);
}

TEST(ToUint64Test, ToUint64_beyond64Bits_wraps)
{
    EXPECT_EQ(utils::toUint64("18446744073709551616"), 0U);
    EXPECT_EQ(utils::toUint64("18446744073709551617"), 1U);
}

TEST(ToUint64Test, ToUint64_from21Characters_isZero)
{
    EXPECT_EQ(utils::toUint64("00000000000000000001"), 1U);
    EXPECT_EQ(utils::toUint64("000000000000000000001"), 0U);
    EXPECT_EQ(utils::toUint64("1                    "), 0U);
}

TEST(TrimTest, Trim_removesBlanksAtBothEnds)
{
    EXPECT_EQ(utils::trim(" \ta b\t "), "a b");
    EXPECT_EQ(utils::trim("a"), "a");
    EXPECT_EQ(utils::trim(" \t "), "");
    EXPECT_EQ(utils::trim(""), "");
}

TEST(TrimTest, Trim_keepsOtherWhiteSpace)
{
    EXPECT_EQ(utils::trim(" \na\r\n "), "\na\r\n");
    EXPECT_EQ(utils::trim("\va\f"), "\va\f");
}

TEST(SplitTest, Split_emptyText_hasNoPieces)
{
    EXPECT_THAT(utils::split("", ':', '"'), IsEmpty());
}

TEST(SplitTest, Split_emptyPieces_areKept)
{
    EXPECT_THAT(utils::split("a", ':', '"'), ElementsAre("a"));
    EXPECT_THAT(utils::split("a:", ':', '"'), ElementsAre("a", ""));
    EXPECT_THAT(utils::split(":", ':', '"'), ElementsAre("", ""));
    EXPECT_THAT(utils::split("a.b.", '.', '"'), ElementsAre("a", "b", ""));
}

TEST(SplitTest, Split_separatorInQuotes_doesNotCut)
{
    EXPECT_THAT(utils::split(R"("a:b":c)", ':', '"'), ElementsAre(R"("a:b")", "c"));
    EXPECT_THAT(utils::split(R"(a":"b:c)", ':', '"'), ElementsAre(R"(a":"b)", "c"));
    EXPECT_THAT(utils::split(R"("a:b)", ':', '"'), ElementsAre(R"("a:b)"));
}

TEST(SplitTest, Split_escapedQuote_keepsTheQuotesOpen)
{
    EXPECT_THAT(utils::split(R"("a\":b":c)", ':', '"'), ElementsAre(R"("a\":b")", "c"));
}

TEST(SplitTest, Backslash_beforeAQuote_letsItOpen)
{
    EXPECT_THAT(utils::split(R"(\"a:b")", ':', '"'), ElementsAre(R"(\"a:b")"));
}

TEST(SplitTest, Value_endingInABackslash_swallowsItsQuote)
{
    EXPECT_THAT(utils::split(R"(k="a\",l="b")", ',', '"'), ElementsAre(R"(k="a\",l="b")"));
    EXPECT_THAT(utils::split(R"(k="a\\",l=1)", ',', '"'), ElementsAre(R"(k="a\\",l=1)"));
}

TEST(SplitTest, Split_takesAnotherQuoteCharacter)
{
    EXPECT_THAT(utils::split("'a:b':\"c:d\"", ':', '\''), ElementsAre("'a:b'", "\"c", "d\""));
}

TEST(UnquoteTest, Unquote_removesTheEnclosingQuotes)
{
    EXPECT_EQ(utils::unquote(R"("a")"), "a");
    EXPECT_EQ(utils::unquote(R"("")"), "");
}

TEST(UnquoteTest, Unquote_withoutBothQuotes_changesNothing)
{
    EXPECT_EQ(utils::unquote(""), "");
    EXPECT_EQ(utils::unquote("\""), "\"");
    EXPECT_EQ(utils::unquote(R"("a)"), R"("a)");
    EXPECT_EQ(utils::unquote(R"(a")"), R"(a")");
    EXPECT_EQ(utils::unquote(R"(a\"b)"), R"(a\"b)");
}

TEST(UnquoteTest, Backslash_isDroppedBeforeAQuoteAlone)
{
    EXPECT_EQ(utils::unquote(R"("a\"b")"), R"(a"b)");
    EXPECT_EQ(utils::unquote(R"("\"\"")"), R"("")");
    EXPECT_EQ(utils::unquote(R"("a\\b\n")"), R"(a\\b\n)");
    EXPECT_EQ(utils::unquote(R"("a\\"b")"), R"(a\"b)");
}

TEST(UnquoteTest, Unquote_closingQuote_isNotEscaped)
{
    EXPECT_EQ(utils::unquote(R"("a\")"), R"(a\)");
    EXPECT_EQ(utils::unquote(R"("\")"), R"(\)");
}

TEST(QuoteTest, Quote_escapesQuotesOnly)
{
    EXPECT_EQ(utils::quote(""), R"("")");
    EXPECT_EQ(utils::quote("a"), R"("a")");
    EXPECT_EQ(utils::quote(R"(a"b)"), R"("a\"b")");
    EXPECT_EQ(utils::quote(R"(a\b)"), R"("a\b")");
}

TEST(QuoteTest, Quote_isUndoneByUnquote)
{
    for (const std::string text : {"", "a", "\"", "a\"b\"", "a\\b", "\\\\"}) {
        EXPECT_EQ(utils::unquote(utils::quote(text)), text);
    }
}

TEST(DeviceAddressFormatsTest, Attributes_areTheFour)
{
    EXPECT_THAT(utils::deviceAddressFormats, ElementsAre(std::string("%02x:%02x.%x"), std::string("%02x:%02x"),
                                                         std::string("%02x%02x%02x"), std::string("%02x%02x")));
}

}  // namespace
