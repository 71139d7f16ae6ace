#include "Utils/Exception.h"

#include <gmock/gmock.h>

#include "support/LogCapture.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string logged(const std::string& text)
{
    return "error|Exception|utils::Exception::Exception|" + text;
}

TEST(ExceptionTest, Message_isLoggedWithoutThePrefix)
{
    const support::LogCapture log;
    const utils::Exception exception(std::string("x"));
    EXPECT_STREQ(exception.what(), "DRAVEv2: x");
    EXPECT_EQ(std::string(exception.what()).size(), 10U);
    EXPECT_THAT(log.messages(), ElementsAre(logged("x")));
}

TEST(ExceptionTest, Format_getsNoPrefix)
{
    const support::LogCapture log;
    const utils::Exception exception("%s is %d", "seven", 7);
    EXPECT_STREQ(exception.what(), "seven is 7");
    EXPECT_THAT(log.messages(), ElementsAre(logged("seven is 7")));
}

TEST(ExceptionTest, Literal_alone_isAFormat)
{
    const utils::Exception exception("100%% plain");
    EXPECT_STREQ(exception.what(), "100% plain");
}

TEST(ExceptionTest, FormattedText_isCutTo511Characters)
{
    const utils::Exception exception("%s", std::string(600, 'a').c_str());
    EXPECT_EQ(exception.what(), std::string(511, 'a'));
}

TEST(ExceptionTest, Message_isNotCut)
{
    const std::string message(600, 'a');
    EXPECT_EQ(utils::Exception(message).what(), "DRAVEv2: " + message);
}

TEST(ExceptionTest, Construction_writesOneErrorEvent)
{
    const support::LogCapture log(1);
    const utils::EForbidden exception("no");
    ASSERT_EQ(log.events().size(), 1U);
    EXPECT_THAT(log.debugger(), IsEmpty());
}

TEST(ExceptionTest, Copy_keepsTheText_andWritesNothing)
{
    support::LogCapture log;
    const utils::EForbidden original("no");
    log.clear();
    try {
        throw original;
    } catch (const utils::Exception& caught) {
        const utils::Exception copy = caught;
        EXPECT_STREQ(copy.what(), "DRAVEv2: EForbidden:no");
    }
    EXPECT_THAT(log.events(), IsEmpty());
    EXPECT_THAT(log.debugger(), IsEmpty());
}

TEST(ExceptionTest, TypedException_putsItsNameBeforeTheText)
{
    const support::LogCapture log;
    EXPECT_STREQ(utils::EForbidden("text").what(), "DRAVEv2: EForbidden:text");
    EXPECT_STREQ(utils::EInvalidParameter("text").what(), "DRAVEv2: EInvalidParameter:text");
    EXPECT_STREQ(utils::ENotSupported("text").what(), "DRAVEv2: ENotSupported:text");
    EXPECT_STREQ(utils::ESyntaxError("text").what(), "DRAVEv2: ESyntaxError:text");
    EXPECT_THAT(log.messages(), ElementsAre(logged("EForbidden:text"), logged("EInvalidParameter:text"),
                                            logged("ENotSupported:text"), logged("ESyntaxError:text")));
}

TEST(ExceptionTest, NotFoundAndFailed_addNoPrefix)
{
    const support::LogCapture log;
    EXPECT_STREQ(utils::ENotFound("text").what(), "DRAVEv2: text");
    EXPECT_STREQ(utils::EFailed("text").what(), "DRAVEv2: text");
    EXPECT_THAT(log.messages(), ElementsAre(logged("text"), logged("text")));
}

TEST(ExceptionTest, NotSupported_withoutText_isItsName)
{
    const support::LogCapture log;
    EXPECT_STREQ(utils::ENotSupported().what(), "ENotSupported:");
    EXPECT_THAT(log.messages(), ElementsAre(logged("ENotSupported:")));
}

template <class Exception>
class ExceptionFamilyTest : public testing::Test
{
};

using Family = testing::Types<utils::EForbidden, utils::EInvalidParameter, utils::ENotSupported, utils::ESyntaxError,
                              utils::ENotFound, utils::EFailed>;
TYPED_TEST_SUITE(ExceptionFamilyTest, Family);

TYPED_TEST(ExceptionFamilyTest, EachType_isCaughtAsItsBases)
{
    const auto raise = [] { throw TypeParam("text"); };
    EXPECT_THROW(raise(), TypeParam);
    EXPECT_THROW(raise(), utils::Exception);
    EXPECT_THROW(raise(), std::exception);
}

TEST(ExceptionTest, VirtualTable_hasWhatFollowsTheDestructor)
{
    EXPECT_EQ(support::slotOf(&utils::Exception::what), 2U);
    EXPECT_EQ(support::slotOf(&utils::EForbidden::what), 2U);
}

}  // namespace
