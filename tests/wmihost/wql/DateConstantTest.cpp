#include "wmihost/wql/DateConstant.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "tests/wmihost/CaseFile.h"
#include "wmihost/terminal/Text.h"

namespace wmihost::wql {
namespace {

// "1932-01-21 15:23:00.000000"
std::string utcText(long long microsecondsSince1970)
{
    const std::chrono::sys_time<std::chrono::microseconds> point{std::chrono::microseconds(microsecondsSince1970)};
    const auto midnight = std::chrono::floor<std::chrono::days>(point);
    const std::chrono::year_month_day day(midnight);
    const std::chrono::hh_mm_ss clock(point - midnight);
    char text[40];
    std::snprintf(text, sizeof(text), "%04d-%02u-%02u %02d:%02d:%02d.%06d", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return text;
}

TEST(DateConstant, Constant_isAPointInTime)
{
    const long long begin = *pointInTime(L"19700101");
    expectOutcomes(ZERIX_WMIHOST_TESTS "/wql/dates.cases", [begin](const std::string& text) {
        const auto point = pointInTime(toWide(text));
        return (point ? utcText(*point - begin) : "not a date") + (isInterval(toWide(text)) ? ", an interval" : "");
    });
}

}  // namespace
}  // namespace wmihost::wql
