#include "wmihost/metrics/PrometheusText.h"

#include <gtest/gtest.h>

#include <limits>

namespace wmihost {
namespace {

std::string textOfLabel(const std::string& value)
{
    const std::string text = prometheusText({{"m", "h", MetricType::GAUGE, {{{{"l", value}}, 1}}}});
    const std::string head = "# HELP m h\n# TYPE m gauge\nm{l=\"";
    const std::string tail = "\"} 1\n";
    EXPECT_TRUE(text.starts_with(head) && text.ends_with(tail)) << text;
    return text.substr(head.size(), text.size() - head.size() - tail.size());
}

std::string textOfNumber(double value)
{
    const std::string text = prometheusText({{"m", "h", MetricType::GAUGE, {{{}, value}}}});
    return text.substr(text.rfind(' ') + 1);
}

TEST(PrometheusText, Families_areHelpTypeAndSamples)
{
    EXPECT_EQ(prometheusText({{"a_total", "All.", MetricType::COUNTER, {{{{"x", "1"}, {"y", "2"}}, 7}, {{}, 8}}},
                              {"b", "Some.", MetricType::GAUGE, {{{{"x", ""}}, 0.25}}}}),
              "# HELP a_total All.\n"
              "# TYPE a_total counter\n"
              "a_total{x=\"1\",y=\"2\"} 7\n"
              "a_total 8\n"
              "# HELP b Some.\n"
              "# TYPE b gauge\n"
              "b{x=\"\"} 0.25\n");
}

TEST(PrometheusText, Family_withoutSamples_isLeftOut)
{
    EXPECT_EQ(prometheusText({{"a", "All.", MetricType::GAUGE, {}}}), "");
}

TEST(PrometheusText, Labels_areEscaped)
{
    EXPECT_EQ(textOfLabel("a\\b\"c\nd"), "a\\\\b\\\"c\\nd");
    EXPECT_EQ(textOfLabel("Gr\xC3\xBC\xC3\x9F"
                          "e #3"),
              "Gr\xC3\xBC\xC3\x9F"
              "e #3");
    EXPECT_EQ(textOfLabel("{},="), "{},=");
}

TEST(PrometheusText, ControlCharacters_becomeSpaces)
{
    EXPECT_EQ(textOfLabel(std::string("a\rb\tc\x1B[31md\0e", 13)), "a b c [31md e");
}

TEST(PrometheusText, Help_keepsItsQuotes)
{
    EXPECT_EQ(prometheusText({{"m", "the \"m\"\nand C:\\n", MetricType::GAUGE, {{{}, 1}}}}),
              "# HELP m the \"m\"\\nand C:\\\\n\n# TYPE m gauge\nm 1\n");
}

TEST(PrometheusText, LongLabel_isCutBetweenCharacters)
{
    const std::string longest(256, 'x');
    EXPECT_EQ(textOfLabel(longest), longest);
    EXPECT_EQ(textOfLabel(longest + "y"), longest);
    const std::string threeBytes = "\xE2\x82\xAC";
    EXPECT_EQ(textOfLabel(std::string(254, 'x') + threeBytes), std::string(254, 'x'));
    EXPECT_EQ(textOfLabel(std::string(253, 'x') + threeBytes), std::string(253, 'x') + threeBytes);
}

TEST(PrometheusText, SeriesThatOccursTwice_isWrittenOnce)
{
    EXPECT_EQ(
        prometheusText({{"m", "h", MetricType::GAUGE, {{{{"l", "a"}}, 1}, {{{"l", "b"}}, 2}, {{{"l", "a"}}, 3}}}}),
        "# HELP m h\n# TYPE m gauge\nm{l=\"a\"} 1\nm{l=\"b\"} 2\n");
}

TEST(PrometheusText, Numbers_keepAllDigits)
{
    EXPECT_EQ(textOfNumber(0), "0\n");
    EXPECT_EQ(textOfNumber(125000000), "125000000\n");
    EXPECT_EQ(textOfNumber(0.125), "0.125\n");
    EXPECT_EQ(textOfNumber(1795312298.375892), "1795312298.375892\n");
    EXPECT_EQ(textOfNumber(0.000001), "0.000001\n");
    EXPECT_EQ(textOfNumber(static_cast<double>(std::numeric_limits<unsigned long long>::max())),
              "18446744073709551616\n");
}

}  // namespace
}  // namespace wmihost
