#include "wmihost/wql/DateConstant.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/wmihost/TextRow.h"

namespace wmihost::wql {
namespace {

constexpr long long SECOND = 1000000;
constexpr long long MINUTE = 60 * SECOND;
constexpr long long HOUR = 60 * MINUTE;

struct DateCase
{
    const char* name;
    const wchar_t* text;
    const wchar_t* datetime;  // the same time in the form of a property's value; null: the text is not a date
};

void PrintTo(const DateCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class DateCases : public testing::TestWithParam<DateCase>
{
};

TEST_P(DateCases, Constant_isAPointInTime)
{
    const auto point = pointInTime(GetParam().text);
    if (GetParam().datetime == nullptr) {
        EXPECT_FALSE(point);
        return;
    }
    const auto expected = pointInTime(GetParam().datetime);
    ASSERT_TRUE(point);
    ASSERT_TRUE(expected);
    EXPECT_EQ(*point - *expected, 0);
}

constexpr const wchar_t* DAY = L"19320121000000.000000+000";
constexpr const wchar_t* MONTH = L"19320101000000.000000+000";

INSTANTIATE_TEST_SUITE_P(
    Table, DateCases,
    testing::Values(
        DateCase{"Solid", L"19320121", DAY}, DateCase{"SolidWithTwoDigits", L"320121", DAY},
        DateCase{"SolidMonth", L"193201", MONTH}, DateCase{"SolidYear", L"1932", MONTH},
        DateCase{"SolidSecond", L"19320121094500", L"19320121094500.000000+000"},
        DateCase{"Dashes", L"1932-01-21", DAY}, DateCase{"MonthFirst", L"1/21/1932", DAY},
        DateCase{"DayFirst", L"21.1.1932", DAY}, DateCase{"YearBeforeDay", L"1932/21/01", DAY},
        DateCase{"YearInTheMiddle", L"01-1932-21", DAY}, DateCase{"YearOfTwoDigitsComesLast", L"01/21/32", DAY},
        DateCase{"MonthDayYear", L"January 21, 1932", DAY}, DateCase{"MonthDayShortYear", L"January 21, 32", DAY},
        DateCase{"ShortMonth", L"jan 21 1932", DAY}, DateCase{"MonthYear", L"January, 1932", MONTH},
        DateCase{"MonthYearDay", L"January 1932 21", DAY}, DateCase{"MonthShortYearDay", L"Jan 32 21", DAY},
        DateCase{"DayMonthYear", L"21 January, 1932", DAY}, DateCase{"DayMonthWithoutGap", L"21 Jan32", DAY},
        DateCase{"DayYearMonth", L"21 1932 January", DAY}, DateCase{"YearMonthDay", L"1932 January 21", DAY},
        DateCase{"YearMonth", L"1932 Jan", MONTH}, DateCase{"YearDayMonth", L"1932 21 January", DAY},
        DateCase{"Clock", L"1932-01-21 3:23", L"19320121032300.000000+000"},
        DateCase{"Seconds", L"21 Jan 1932 3:23:05", L"19320121032305.000000+000"},
        DateCase{"Afternoon", L"1/21/1932 3:23:00PM", L"19320121152300.000000+000"},
        DateCase{"HourAlone", L"Jan 21, 1932 4 PM", L"19320121160000.000000+000"},
        DateCase{"HourBehindAMonth", L"Jan 1932 4 PM", L"19320101160000.000000+000"},
        DateCase{"Noon", L"19320121 12:30 pm", L"19320121123000.000000+000"},
        DateCase{"Midnight", L"19320121 12:30 AM", L"19320121003000.000000+000"},
        DateCase{"Offset", L"19320121 3:23:00:060", L"19320121032300.000000+060"},
        DateCase{"OffsetAndHalf", L"19320121 3:23:00:60 PM", L"19320121152300.000000+060"},
        DateCase{"LeapDay", L"2024-02-29", L"20240229000000.000000+000"}, DateCase{"NoLeapDay", L"2023-02-29", nullptr},
        DateCase{"MonthThirteen", L"20261301", nullptr}, DateCase{"DayZero", L"20261200", nullptr},
        DateCase{"Hour24", L"20261121 24:00", nullptr}, DateCase{"MixedSeparators", L"2026-11/21", nullptr},
        DateCase{"HourThirteenAm", L"20261121 13 AM", nullptr}, DateCase{"HourWithoutHalf", L"20261121 4", nullptr},
        DateCase{"NoDate", L"yesterday", nullptr}, DateCase{"MonthAlone", L"May", nullptr},
        DateCase{"Empty", L"", nullptr}, DateCase{"TextBehind", L"2026-11-21 and more", nullptr},
        DateCase{"LongNumber", L"12345678901234567890", nullptr},
        DateCase{"Unknown", L"202611********.000000+000", nullptr},
        DateCase{"Interval", L"00000001020304.000000:000", nullptr}),
    rowName);

TEST(DateConstant, Points_haveTheirDistance)
{
    const auto between = [](const wchar_t* from, const wchar_t* to) { return *pointInTime(to) - *pointInTime(from); };
    EXPECT_EQ(between(L"20261121", L"20261121000001"), SECOND);
    EXPECT_EQ(between(L"20261121000000.000000+060", L"20261121"), HOUR);
    EXPECT_EQ(between(L"20261121000000.000000-060", L"20261121"), -HOUR);
    EXPECT_EQ(between(L"20240228", L"20240301"), 48 * HOUR);
    EXPECT_EQ(between(L"20230228", L"20230301"), 24 * HOUR);
    EXPECT_EQ(between(L"19991231", L"20000101"), 24 * HOUR);
    EXPECT_EQ(between(L"16010101", L"20260101"), 155228LL * 24 * HOUR);
    EXPECT_EQ(between(L"20261121000000.000001+000", L"20261121000000.000003+000"), 2);
}

TEST(DateConstant, Interval_isRecognised)
{
    EXPECT_TRUE(isInterval(L"00000001020304.000000:000"));
    EXPECT_FALSE(isInterval(L"20261121000000.000000+000"));
    EXPECT_FALSE(isInterval(L"1 day"));
}

}  // namespace
}  // namespace wmihost::wql
