#include "wmihost/metrics/Exposition.h"

#include <gtest/gtest.h>

namespace wmihost {
namespace {

using namespace std::chrono_literals;
using Moment = std::chrono::system_clock::time_point;

const char* const SUCCESS_HELP =
    "# HELP zerix_read_success Whether the latest reading of the machine succeeded. 0: the other values are those of "
    "the last good reading.\n"
    "# TYPE zerix_read_success gauge\n";
const char* const DURATION_HELP =
    "# HELP zerix_read_duration_seconds How long the latest reading of the machine took.\n"
    "# TYPE zerix_read_duration_seconds gauge\n";
const char* const TIME_HELP =
    "# HELP zerix_read_last_success_timestamp_seconds When the last good reading of the machine ended. Absent before "
    "the first one.\n"
    "# TYPE zerix_read_last_success_timestamp_seconds gauge\n";
const std::string STATE_HELP = "# HELP state The state.\n# TYPE state gauge\n";

std::vector<MetricFamily> state(double value)
{
    return {{"state", "The state.", MetricType::GAUGE, {{{}, value}}}};
}

TEST(Exposition, GoodReading_isShownWithItsTime)
{
    Exposition exposition;
    exposition.succeeded(state(7), 250ms, Moment(1795312298500ms));
    EXPECT_EQ(exposition.text(), STATE_HELP + "state 7\n" + SUCCESS_HELP + "zerix_read_success 1\n" + DURATION_HELP +
                                     "zerix_read_duration_seconds 0.25\n" + TIME_HELP +
                                     "zerix_read_last_success_timestamp_seconds 1795312298.5\n");
}

TEST(Exposition, FailedReading_showsTheLastGoodValues)
{
    Exposition exposition;
    exposition.succeeded(state(7), 250ms, Moment(1795312298s));
    exposition.failed(2s);
    EXPECT_EQ(exposition.text(), STATE_HELP + "state 7\n" + SUCCESS_HELP + "zerix_read_success 0\n" + DURATION_HELP +
                                     "zerix_read_duration_seconds 2\n" + TIME_HELP +
                                     "zerix_read_last_success_timestamp_seconds 1795312298\n");
    exposition.succeeded(state(8), 1s, Moment(1795312300s));
    EXPECT_EQ(exposition.text(), STATE_HELP + "state 8\n" + SUCCESS_HELP + "zerix_read_success 1\n" + DURATION_HELP +
                                     "zerix_read_duration_seconds 1\n" + TIME_HELP +
                                     "zerix_read_last_success_timestamp_seconds 1795312300\n");
}

TEST(Exposition, FirstReadingThatFails_hasNoTime)
{
    Exposition exposition;
    exposition.failed(500ms);
    EXPECT_EQ(exposition.text(), std::string(SUCCESS_HELP) + "zerix_read_success 0\n" + DURATION_HELP +
                                     "zerix_read_duration_seconds 0.5\n");
}

}  // namespace
}  // namespace wmihost
