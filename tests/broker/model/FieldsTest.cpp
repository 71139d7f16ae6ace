#include "broker/model/Fields.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::Optional;
using testing::Pair;

TEST(Fields, JoinedTexts_areReadBack)
{
    const std::string text = broker::joinFields({{"Owner", "HOST\\admin; 100 %"}, {"Empty", ""}, {"Name", "\xC4\n"}});
    EXPECT_EQ(text, "Owner=HOST\\admin%3B 100 %25;Empty=;Name=%C4%0A");
    EXPECT_THAT(broker::splitFields(text),
                Optional(ElementsAre(Pair("Empty", ""), Pair("Name", "\xC4\n"), Pair("Owner", "HOST\\admin; 100 %"))));
}

TEST(Fields, OtherForms_areRefused)
{
    for (const char* text : {"Name", "Name=a;Name=b", "Name=%4", "Name=%G0", "Name=%"}) {
        EXPECT_EQ(broker::splitFields(text), std::nullopt) << text;
    }
}

TEST(NumberIn, Only64BitDigits_areRead)
{
    EXPECT_EQ(broker::numberIn("0"), 0U);
    EXPECT_EQ(broker::numberIn("007"), 7U);
    EXPECT_EQ(broker::numberIn("18446744073709551615"), UINT64_MAX);
    for (const char* text : {"", " 1", "1 ", "+1", "-1", "0x1", "1a", "1.0", "18446744073709551616"}) {
        EXPECT_EQ(broker::numberIn(text), std::nullopt) << text;
    }
}

}  // namespace
