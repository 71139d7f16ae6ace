#include "Utils/Exception.h"

#include <gmock/gmock.h>

#include <type_traits>

#include "support/LogCapture.h"
#include "support/SlotOf.h"
#include "support/Thrown.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Each type is caught as each of its bases.
template <class... Types>
constexpr bool ARE_EXCEPTIONS = (std::is_convertible_v<Types*, utils::Exception*> && ...);

static_assert(ARE_EXCEPTIONS<utils::EForbidden, utils::EInvalidParameter, utils::ENotSupported, utils::ESyntaxError,
                             utils::ENotFound, utils::EFailed>);
static_assert(std::is_convertible_v<utils::Exception*, std::exception*>);

std::string logged(const std::string& text)
{
    return "error|Exception|utils::Exception::Exception|" + text;
}

TEST(ExceptionTest, Text_isLoggedWithoutThePrefix)
{
    const support::LogCapture log;
    EXPECT_STREQ(utils::Exception(std::string("x")).what(), "DRAVEv2: x");
    EXPECT_STREQ(utils::Exception("%s is %d", "seven", 7).what(), "seven is 7") << "a format gets no prefix";
    EXPECT_STREQ(utils::Exception("100%% plain").what(), "100% plain") << "a literal alone is a format";
    EXPECT_STREQ(utils::EForbidden("text").what(), "DRAVEv2: EForbidden:text");
    EXPECT_STREQ(utils::EInvalidParameter("text").what(), "DRAVEv2: EInvalidParameter:text");
    EXPECT_STREQ(utils::ENotSupported("text").what(), "DRAVEv2: ENotSupported:text");
    EXPECT_STREQ(utils::ESyntaxError("text").what(), "DRAVEv2: ESyntaxError:text");
    EXPECT_STREQ(utils::ENotFound("text").what(), "DRAVEv2: text");
    EXPECT_STREQ(utils::EFailed("text").what(), "DRAVEv2: text");
    EXPECT_STREQ(utils::ENotSupported().what(), "ENotSupported:");
    EXPECT_THAT(log.messages(),
                ElementsAre(logged("x"), logged("seven is 7"), logged("100% plain"), logged("EForbidden:text"),
                            logged("EInvalidParameter:text"), logged("ENotSupported:text"), logged("ESyntaxError:text"),
                            logged("text"), logged("text"), logged("ENotSupported:")));
}

TEST(ExceptionTest, FormattedText_isCutTo511Characters)
{
    const std::string message(600, 'a');
    EXPECT_EQ(utils::Exception("%s", message.c_str()).what(), std::string(511, 'a'));
    EXPECT_EQ(utils::Exception(message).what(), "DRAVEv2: " + message) << "a message is not cut";
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

TEST(ExceptionTest, VirtualTable_hasWhatFollowsTheDestructor)
{
    EXPECT_THAT(support::slotsOf(&utils::Exception::what, &utils::EForbidden::what), ElementsAre(2, 2));
}

}  // namespace
