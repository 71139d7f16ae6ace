#include "wmihost/terminal/Json.h"

#include <gtest/gtest.h>

namespace wmihost {
namespace {

TEST(JsonOf, Value_keepsItsKind)
{
    EXPECT_EQ(jsonOf(Variant().get(), CIM_STRING).dump(), "null");
    EXPECT_EQ(jsonOf(Variant::ofText(L"18446744073709551615").get(), CIM_UINT64).dump(), "18446744073709551615");
    EXPECT_EQ(jsonOf(Variant::ofText(L"-5").get(), CIM_SINT64).dump(), "-5");
    EXPECT_EQ(jsonOf(Variant::ofLong(-1).get(), CIM_UINT32).dump(), "4294967295");
    EXPECT_EQ(jsonOf(Variant::ofLong(-1).get(), CIM_SINT32).dump(), "-1");
    EXPECT_EQ(jsonOf(Variant::ofText(L"42").get(), CIM_STRING).dump(), "\"42\"");
    EXPECT_EQ(jsonOf(Variant::ofText(L"\u00FC").get(), CIM_STRING).dump(), "\"\xC3\xBC\"");
    EXPECT_EQ(jsonOf(Variant::ofDouble(1.5).get(), CIM_REAL64).dump(), "1.5");
    EXPECT_EQ(jsonOf(Variant::ofTexts({L"a", L"b"}).get(), CIM_STRING | CIM_FLAG_ARRAY).dump(), "[\"a\",\"b\"]");
}

TEST(JsonOf, Boolean_notZero_isTrue)
{
    Variant one = Variant::ofBool(true);
    one.in()->boolVal = 1;
    EXPECT_EQ(jsonOf(one.get(), CIM_BOOLEAN).dump(), "true");
    EXPECT_EQ(jsonOf(Variant::ofBool(false).get(), CIM_BOOLEAN).dump(), "false");
}

}  // namespace
}  // namespace wmihost
