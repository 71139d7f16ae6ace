#include "wmihost/terminal/Csv.h"

#include <gtest/gtest.h>

namespace wmihost {
namespace {

TEST(Csv, Fields_areSeparatedByCommasAndEndWithCrLf)
{
    EXPECT_EQ(csvRecord({"a", "b c", "3"}), "a,b c,3\r\n");
}

TEST(Csv, CommasQuotesAndEndsOfLines_areQuoted)
{
    EXPECT_EQ(csvRecord({"a,b", "say \"hi\"", "one\ntwo", "\r"}), "\"a,b\",\"say \"\"hi\"\"\",\"one\ntwo\",\"\r\"\r\n");
}

TEST(Csv, NoText_differsFromAnEmptyOne)
{
    EXPECT_EQ(csvRecord({std::nullopt, "", std::nullopt}), ",\"\",\r\n");
}

TEST(Csv, Values_areThoseOfWmi)
{
    EXPECT_EQ(csvField(Variant::ofLong(-1).get(), CIM_UINT32), "4294967295");
    EXPECT_EQ(csvField(Variant::ofBool(true).get(), CIM_BOOLEAN), "TRUE");
    EXPECT_EQ(csvField(Variant::ofText(L"20261121094145.000000+000").get(), CIM_DATETIME), "20261121094145.000000+000");
    EXPECT_EQ(csvField(Variant().get(), CIM_STRING), std::nullopt);
    EXPECT_EQ(csvField(Variant::ofTexts({L"a", L"b\"c"}).get(), CIM_STRING | CIM_FLAG_ARRAY), "[\"a\",\"b\\\"c\"]");
}

}  // namespace
}  // namespace wmihost
