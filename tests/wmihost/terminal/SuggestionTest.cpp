#include "wmihost/terminal/Suggestion.h"

#include <gtest/gtest.h>

namespace wmihost {
namespace {

const std::vector<std::wstring> CLASSES{L"Zerix_EthernetPortStatistics", L"Zerix_EthernetPort", L"Zerix_ConcreteJob"};

TEST(Suggestion, Suggestion_isTheMostSimilarName)
{
    EXPECT_EQ(suggestion(L"Zerix_EthernetPrt", CLASSES), "; did you mean Zerix_EthernetPort?");
    EXPECT_EQ(suggestion(L"zerix_ethernetport_statistics", CLASSES), "; did you mean Zerix_EthernetPortStatistics?");
    EXPECT_EQ(suggestion(L"Zerix_ConcretJobs", CLASSES), "; did you mean Zerix_ConcreteJob?");
}

TEST(Suggestion, SwappedLetters_areOneMistake)
{
    EXPECT_EQ(suggestion(L"Nmae", {L"Speed", L"Name"}), "; did you mean Name?");
    EXPECT_EQ(suggestion(L"aNem", {L"Name"}), "");
}

TEST(Suggestion, PieceOfAName_isEnough)
{
    EXPECT_EQ(suggestion(L"ethernetport", CLASSES), "; did you mean Zerix_EthernetPort?");
    EXPECT_EQ(suggestion(L"job", CLASSES), "; did you mean Zerix_ConcreteJob?");
    EXPECT_EQ(suggestion(L"jo", CLASSES), "");
}

TEST(Suggestion, EquallySimilarNames_suggestTheFirst)
{
    EXPECT_EQ(suggestion(L"abX", {L"abY", L"abZ"}), "; did you mean abY?");
}

TEST(Suggestion, DissimilarNames_areNotSuggested)
{
    EXPECT_EQ(suggestion(L"Win32_Processor", CLASSES), "");
    // One is a third of four letters, rounded.
    EXPECT_EQ(suggestion(L"abcd", {L"abXY"}), "");
    EXPECT_EQ(suggestion(L"abcd", {L"abcX"}), "; did you mean abcX?");
    EXPECT_EQ(suggestion(L"", CLASSES), "");
    EXPECT_EQ(suggestion(L"Name", {}), "");
}

}  // namespace
}  // namespace wmihost
