#include "wmihost/wql/LikePattern.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/wmihost/TextRow.h"

namespace wmihost::wql {
namespace {

struct LikeCase
{
    const char* name;
    std::wstring text;
    std::wstring pattern;
    bool matches;
};

void PrintTo(const LikeCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class LikeCases : public testing::TestWithParam<LikeCase>
{
};

TEST_P(LikeCases, Pattern_matchesAsDocumented)
{
    EXPECT_EQ(LikePattern(GetParam().pattern).matches(GetParam().text), GetParam().matches);
}

INSTANTIATE_TEST_SUITE_P(
    Table, LikeCases,
    testing::Values(
        LikeCase{"Same", L"eth0", L"eth0", true}, LikeCase{"Case", L"ETH0", L"eth0", true},
        LikeCase{"Other", L"eth1", L"eth0", false}, LikeCase{"Longer", L"eth01", L"eth0", false},
        LikeCase{"Shorter", L"eth", L"eth0", false}, LikeCase{"PercentAtTheEnd", L"eth0", L"eth%", true},
        LikeCase{"PercentForNothing", L"eth", L"eth%", true}, LikeCase{"PercentAtTheBegin", L"my eth0", L"%0", true},
        LikeCase{"PercentAround", L"Windows", L"%ndo%", true}, LikeCase{"PercentTwice", L"abcabd", L"%ab_d%", false},
        LikeCase{"PercentGoesBack", L"aabab", L"%ab", true}, LikeCase{"PercentAlone", L"", L"%", true},
        LikeCase{"Underscore", L"eth0", L"eth_", true}, LikeCase{"UnderscoreForNothing", L"eth", L"eth_", false},
        LikeCase{"UnderscoreInBrackets", L"a_b", L"a[_]b", true},
        LikeCase{"UnderscoreInBracketsIsNoWildcard", L"axb", L"a[_]b", false},
        LikeCase{"PercentInBrackets", L"50%", L"50[%]", true}, LikeCase{"BracketInBrackets", L"a[b", L"a[[]b", true},
        LikeCase{"ClosingBracketInBrackets", L"a]b", L"a[]]b", true}, LikeCase{"Set", L"eth2", L"eth[123]", true},
        LikeCase{"NotInTheSet", L"eth4", L"eth[123]", false}, LikeCase{"NegatedSet", L"eth4", L"eth[^123]", true},
        LikeCase{"InTheNegatedSet", L"eth2", L"eth[^123]", false}, LikeCase{"Range", L"Disk C", L"Disk [a-f]", true},
        LikeCase{"BeyondTheRange", L"Disk G", L"Disk [a-f]", false},
        LikeCase{"RangeWithEquals", L"Disk F", L"Disk [a=f]", true},
        LikeCase{"NegatedRange", L"Disk G", L"Disk [^a-f]", true}, LikeCase{"RangeAndSet", L"x9", L"x[a-f9]", true},
        LikeCase{"HyphenAtTheEndOfASet", L"x-", L"x[a-]", true}, LikeCase{"CaretBehindTheBegin", L"x^", L"x[a^]", true},
        LikeCase{"BracketThatNothingCloses", L"a[b", L"a[b", true},
        LikeCase{"ManyPercents", std::wstring(60, L'a'), L"%a%a%a%a%a%a%a%a%a%b", false}),
    rowName);

}  // namespace
}  // namespace wmihost::wql
