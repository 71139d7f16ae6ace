#include "Utils/Log.h"

#include <gmock/gmock.h>

#include <ostream>
#include <vector>

#include "support/CapturedSinks.h"
#include "support/LogCapture.h"
#include "support/Together.h"

namespace {

using testing::Each;
using testing::ElementsAre;

constexpr const char* DEBUG_LINE = "ZerixDRAVEv2: Some/File:17:some::function: debug: text\n";
constexpr const char* ERROR_LINE = "ZerixDRAVEv2: Some/File:18:some::function: error: text\n";

void logOneOfEach()
{
    utils::logDebug("Some/File", "some::function", 17, "text");
    utils::logError("Some/File", "some::function", 18, "text");
}

struct LevelCase
{
    const char* name;
    const char* value;
    std::int32_t level;
};

void PrintTo(const LevelCase& testCase, std::ostream* stream)
{
    *stream << (testCase.value == nullptr ? "no variable" : testCase.value);
}

class LogLevelTest : public testing::TestWithParam<LevelCase>
{
};

// The level is the first character of the variable, if that is one of the four.
TEST_P(LogLevelTest, Level_decidesWhichSinksAreUsed)
{
    const std::string event = std::string("event: ") + ERROR_LINE;
    const std::vector<std::string> both{std::string("debugger: ") + DEBUG_LINE, event,
                                        std::string("debugger: ") + ERROR_LINE};
    const std::vector<std::vector<std::string>> sequences{{}, {event}, both, both};
    support::setLogLevelVariable(GetParam().value);
    support::startCapturing();
    testing::internal::CaptureStderr();
    logOneOfEach();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              GetParam().level == 3 ? std::string(DEBUG_LINE) + ERROR_LINE : "");
    EXPECT_EQ(support::captured(""), sequences.at(GetParam().level));
    EXPECT_EQ(utils::logLevel(), GetParam().level);
    support::stopCapturing();
}

INSTANTIATE_TEST_SUITE_P(Values, LogLevelTest,
                         testing::Values(LevelCase{"unset", nullptr, 1}, LevelCase{"empty", "", 1},
                                         LevelCase{"zero", "0", 0}, LevelCase{"one", "1", 1}, LevelCase{"two", "2", 2},
                                         LevelCase{"three", "3", 3}, LevelCase{"threeAndMore", "3x", 3},
                                         LevelCase{"ten", "10", 1}, LevelCase{"twenty", "20", 2},
                                         LevelCase{"four", "4", 1}, LevelCase{"blankTwo", " 2", 1},
                                         LevelCase{"negative", "-1", 1}, LevelCase{"word", "debug", 1}),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST(LogTest, Level_isReadOnce)
{
    support::setLogLevelVariable("0");
    utils::logDebug("Some/File", "some::function", 17, "text");
    support::setLogLevelVariable("3");
    EXPECT_EQ(utils::logLevel(), 0) << "the log call has read it";
}

TEST(LogTest, StandardError_interpretsPercentSignsTwice)
{
    const support::LogCapture log(3);
    testing::internal::CaptureStderr();
    utils::logDebug("Some/File", "some::function", 17, "100%% sure");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "ZerixDRAVEv2: Some/File:17:some::function: debug: 100% sure\n");
    EXPECT_THAT(log.debugger(), ElementsAre("ZerixDRAVEv2: Some/File:17:some::function: debug: 100%% sure\n"));
}

TEST(LogTest, LongLine_isCutTo511Characters)
{
    const support::LogCapture log;
    const std::string start = "ZerixDRAVEv2: Some/File:17:some::function: debug: ";
    const std::string fitting(510 - start.size(), 'a');
    for (const char* const more : {"", "a", "aaaaaaaaaaaaaaaaaaaa"}) {
        utils::logDebug("Some/File", "some::function", 17, fitting + more);
    }
    utils::logError("Some/File", "some::function", 18, std::string(600, 'a'));
    EXPECT_THAT(log.debugger(), ElementsAre(start + fitting + "\n", start + fitting + "a", start + fitting + "a",
                                            log.events().front()));
    EXPECT_EQ(log.events().front().size(), 511U);
}

TEST(LogTest, LineNumber_isSigned_andAMessageMayBeEmpty)
{
    const support::LogCapture log;
    utils::logDebug("F", "f", 4294967295U, "");
    EXPECT_THAT(log.debugger(), ElementsAre("ZerixDRAVEv2: F:-1:f: debug: \n"));
}

TEST(LogTest, LinesOfSeveralThreads_stayWhole)
{
    const support::LogCapture log;
    constexpr int THREADS = 8;
    constexpr int LINES = 50;
    support::runTogether(THREADS, [](int /*thread*/) {
        for (int line = 0; line < LINES; ++line) {
            utils::logError("Some/File", "some::function", 18, "text");
        }
    });
    EXPECT_EQ(log.debugger().size(), static_cast<std::size_t>(THREADS * LINES));
    EXPECT_EQ(log.events().size(), static_cast<std::size_t>(THREADS * LINES));
    EXPECT_THAT(log.debugger(), Each(std::string(ERROR_LINE)));
    EXPECT_THAT(log.events(), Each(std::string(ERROR_LINE)));
}

TEST(LogTest, FirstReads_atOnce_findTheSameLevel)
{
    support::setLogLevelVariable("2");
    std::vector<std::int32_t> levels(8);
    support::runTogether(8, [&](int thread) { levels[static_cast<std::size_t>(thread)] = utils::logLevel(); });
    EXPECT_THAT(levels, Each(2));
}

TEST(LogSiteTest, LineNumber_isTheCallsOrTheGivenOne)
{
    const support::LogCapture log;
    static constexpr utils::LogSite here{"Some/File", "some::function"};
    here.debug("%s is %d", "seven", 7);
    here.error("%s is %d", "eight", 8);
    here.debugAt(403, "size: %d", 2);
    EXPECT_THAT(log.numberedMessages(),
                ElementsAre("debug|Some/File:" + std::to_string(__LINE__ - 4) + "|some::function|seven is 7",
                            "error|Some/File:" + std::to_string(__LINE__ - 4) + "|some::function|eight is 8",
                            "debug|Some/File:403|some::function|size: 2"));
    EXPECT_STREQ(here.file(), "Some/File");
    EXPECT_TRUE(here.debugOn());
}

TEST(LogSiteTest, DefaultLevel_writesErrorsToTheEventLogAlone)
{
    const support::LogCapture log(1);
    static constexpr utils::LogSite here{"Some/File", "some::function"};
    EXPECT_FALSE(here.debugOn());
    here.debug("text");
    here.error("text");
    EXPECT_THAT(log.sequence(), ElementsAre("event: ZerixDRAVEv2: Some/File:" + std::to_string(__LINE__ - 1) +
                                            ":some::function: error: text\n"));
}

}  // namespace
