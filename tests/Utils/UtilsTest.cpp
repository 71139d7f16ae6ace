#include "Utils/Utils.h"

#include <gmock/gmock.h>

#include "support/Baseline.h"
#include "support/LogCapture.h"

namespace {

using testing::ElementsAre;
using Lines = std::vector<std::string>;

TEST(FormatTest, Format_isLikePrintf)
{
    EXPECT_EQ(utils::format("%s-%d-%04x-%%", "a", -1, 31U), "a--1-001f-%");
    EXPECT_EQ(utils::format("%s", ""), "");
    EXPECT_EQ(utils::format("%llu", 18446744073709551615ULL), "18446744073709551615");
}

TEST(FormatTest, Format_isCutTo511Characters)
{
    EXPECT_EQ(utils::format("%s", std::string(511, 'a').c_str()), std::string(511, 'a'));
    for (const std::size_t size : {512U, 513U, 600U, 5000U}) {
        EXPECT_EQ(utils::format("%sb", std::string(size - 1, 'a').c_str()), std::string(511, 'a')) << size;
    }
}

// The number, or "refused" if it is none, and the log lines.
Lines toUint(const std::string& text)
{
    constexpr std::uint32_t UNTOUCHED = 4711;
    const support::LogCapture log;
    std::uint32_t number = UNTOUCHED;
    Lines lines{utils::toUint(text, &number) ? std::to_string(number) : "refused"};
    EXPECT_TRUE(lines.front() != "refused" || number == UNTOUCHED) << text;
    for (const std::string& message : log.messages()) {
        lines.push_back(message);
    }
    return lines;
}

Lines inBrackets(const Lines& texts)
{
    Lines lines;
    for (const std::string& text : texts) {
        lines.push_back("[" + text + "]");
    }
    return lines;
}

TEST(TextsTest, Texts_areReadAsInTheFile)
{
    support::expectCases(
        ZERIX_UTILS_CASES "/texts.txt",
        {{"toUint", &toUint},
         {"toUint64", [](const std::string& text) { return Lines{std::to_string(utils::toUint64(text))}; }},
         {"splitAtColons", [](const std::string& text) { return inBrackets(utils::split(text, ':', '"')); }},
         {"splitAtCommas", [](const std::string& text) { return inBrackets(utils::split(text, ',', '"')); }},
         {"splitAtColonsWithApostrophes",
          [](const std::string& text) { return inBrackets(utils::split(text, ':', '\'')); }},
         {"unquote", [](const std::string& text) { return inBrackets({utils::unquote(text)}); }},
         {"quote", [](const std::string& text) { return inBrackets({utils::quote(text)}); }}});
}

TEST(ToUintTest, WhiteSpace_isOnlyBlanksAndTabulators)
{
    std::uint32_t number = 0;
    EXPECT_TRUE(utils::toUint("  \t42\t ", &number));
    EXPECT_EQ(number, 42U);
    EXPECT_FALSE(utils::toUint("7\n", &number));
    EXPECT_FALSE(utils::toUint(" \t ", &number));
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
