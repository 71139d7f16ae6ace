#include "Utils/Assert.h"

#include <gmock/gmock.h>

#include "support/LogCapture.h"
#include "support/Thrown.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr utils::LogSite here{"Some/File", "some::function"};

TEST(AssertTest, TrueCondition_isEvaluatedOnce)
{
    const support::LogCapture log;
    int evaluations = 0;
    ASSERT(here, ++evaluations == 1);
    ASSERT_AT(here, 7, ++evaluations == 2);
    EXPECT_EQ(evaluations, 2);
    EXPECT_THAT(log.debugger(), IsEmpty());
}

TEST(AssertTest, FalseCondition_isThrownAsWritten)
{
    const void* pointer = nullptr;
    EXPECT_EQ(support::thrownBy([&] { ASSERT_AT(here, 42, pointer != NULL); }),
              "DRAVEv2: Some/File:42: Assertion failed: 'pointer != NULL'");
}

TEST(AssertTest, FalseCondition_hasItsLineNumber)
{
    constexpr int LINE = __LINE__ + 1;
    const auto assertNothing = [] { ASSERT(here, 1 == 2); };
    EXPECT_EQ(support::thrownBy(assertNothing),
              "DRAVEv2: Some/File:" + std::to_string(LINE) + ": Assertion failed: '1 == 2'");
}

TEST(AssertTest, FalseCondition_writesOneErrorLine)
{
    const support::LogCapture log;
    support::thrownBy([] { ASSERT_AT(here, 42, 1 == 2); });
    EXPECT_THAT(log.messages(), ElementsAre("error|Exception|utils::Exception::Exception|Some/File:42: Assertion "
                                            "failed: '1 == 2'"));
}

}  // namespace
