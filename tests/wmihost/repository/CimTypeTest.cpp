#include "wmihost/repository/CimType.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace wmihost {
namespace {

TEST(CimType, Type_isKnownByNameWithoutCase)
{
    ASSERT_NE(findCimType(L"UINT16"), nullptr);
    EXPECT_EQ(findCimType(L"uint16")->type, CIM_UINT16);
    EXPECT_EQ(findCimType(L"ref"), nullptr);
    EXPECT_EQ(findCimType(L"int"), nullptr);
    EXPECT_TRUE(isCimType(CIM_STRING | CIM_FLAG_ARRAY));
    EXPECT_FALSE(isCimType(77));
}

TEST(CimType, ArrayOfVariants_becomesAnArrayOfTheType)
{
    SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 0, 3);
    const std::vector<Variant> elements{Variant::ofLong(1), Variant::ofText(L"2"), Variant::ofByte(3)};
    for (LONG i = 0; i < 3; ++i) {
        ASSERT_EQ(SafeArrayPutElement(array, &i, elements[static_cast<std::size_t>(i)].in()), S_OK);
    }
    VARIANT value;
    value.vt = VT_ARRAY | VT_VARIANT;
    value.parray = array;
    const Variant given(value);
    VariantClear(&value);
    const auto numbers = coerce(given.get(), CIM_UINT16 | CIM_FLAG_ARRAY);
    ASSERT_TRUE(numbers);
    EXPECT_TRUE(sameValue(numbers->get(),
                          Variant::ofArray(VT_I4, {Variant::ofLong(1), Variant::ofLong(2), Variant::ofLong(3)}).get()));
    const auto texts = coerce(given.get(), CIM_STRING | CIM_FLAG_ARRAY);
    ASSERT_TRUE(texts);
    EXPECT_TRUE(sameValue(texts->get(), Variant::ofTexts({L"1", L"2", L"3"}).get()));
}

TEST(CimType, ArrayOfOtherKind_doesNotFit)
{
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
    VARIANT value;
    value.vt = VT_ARRAY | VT_I4;
    value.parray = SafeArrayCreate(VT_I4, 2, bounds);
    EXPECT_FALSE(coerce(value, CIM_UINT32 | CIM_FLAG_ARRAY)) << "two dimensions";
    VariantClear(&value);
    value.vt = VT_ARRAY | VT_VARIANT;
    value.parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
    EXPECT_FALSE(coerce(value, CIM_UINT16 | CIM_FLAG_ARRAY)) << "an empty element";
    VariantClear(&value);
}

TEST(CimType, ValueByReference_isRead)
{
    long number = 7;
    VARIANT byReference;
    byReference.vt = VT_BYREF | VT_I4;
    byReference.plVal = &number;
    EXPECT_EQ(coerce(byReference, CIM_UINT16)->get().lVal, 7);

    VARIANT outer;
    outer.vt = VT_BYREF | VT_VARIANT;
    VARIANT inner = Variant::ofText(L"text").detach();
    outer.pvarVal = &inner;
    EXPECT_EQ(viewOf(coerce(outer, CIM_STRING)->get().bstrVal), L"text");
    VariantClear(&inner);

    VARIANT list = Variant::ofTexts({L"a"}).detach();
    VARIANT listByReference;
    listByReference.vt = VT_BYREF | VT_ARRAY | VT_BSTR;
    listByReference.pparray = &list.parray;
    EXPECT_TRUE(sameValue(coerce(listByReference, CIM_STRING | CIM_FLAG_ARRAY)->get(), list));
    VariantClear(&list);
}

TEST(CimType, Reals_areWrittenInTheFewestDigits)
{
    EXPECT_EQ(scalarText(Variant::ofDouble(0.1).get(), CIM_REAL64), L"0.1");
    EXPECT_EQ(scalarText(Variant::ofFloat(0.1F).get(), CIM_REAL32), L"0.1");
    EXPECT_EQ(scalarText(Variant::ofDouble(1e300).get(), CIM_REAL64), L"1e+300");
    EXPECT_EQ(valueFromText(L"-1.7976931348623157E+308", CIM_REAL64).get().dblVal, -1.7976931348623157e308);
}

TEST(CimType, UsersText_isReadByType)
{
    EXPECT_EQ(valueFromText(L"255", CIM_UINT8).get().bVal, 255);
    EXPECT_EQ(valueFromText(L"0x10", CIM_UINT16).get().lVal, 16);
    EXPECT_EQ(valueFromText(L"4294967295", CIM_UINT32).get().lVal, -1);
    EXPECT_EQ(viewOf(valueFromText(L"18446744073709551615", CIM_UINT64).get().bstrVal), L"18446744073709551615");
    EXPECT_EQ(valueFromText(L"True", CIM_BOOLEAN).get().boolVal, VARIANT_TRUE);
    EXPECT_EQ(elementsOf(valueFromText(L"1,2,3", CIM_UINT16 | CIM_FLAG_ARRAY).get()).size(), 3U);
    EXPECT_TRUE(elementsOf(valueFromText(L"", CIM_STRING | CIM_FLAG_ARRAY).get()).empty());
    EXPECT_EQ(valueFromText(L"1.5", CIM_REAL64).get().dblVal, 1.5);
    for (const wchar_t* const time :
         {L"20261121094145.000000+000", L"00000001010101.000000:000", L"2026112109****.******-060"})
    {
        EXPECT_EQ(viewOf(valueFromText(time, CIM_DATETIME).get().bstrVal), time);
    }
}

TEST(CimType, Refusal_saysWhichValuesThereAre)
{
    constexpr const char* TIMES = "yyyymmddhhmmss.ffffff+uuu or, for an interval, ddddddddhhmmss.ffffff:000";
    const std::tuple<const wchar_t*, CIMTYPE, std::string> rows[] = {
        {L"256", CIM_UINT8, "'256' is no uint8: a whole number from 0 to 255"},
        {L"-129", CIM_SINT8, "'-129' is no sint8: a whole number from -128 to 127"},
        {L"", CIM_UINT32, "'' is no uint32: a whole number from 0 to 4294967295"},
        {L"maybe", CIM_BOOLEAN, "'maybe' is no boolean: true or false"},
        {L"soon", CIM_DATETIME, std::string("'soon' is no datetime: ") + TIMES},
        {L"00000001010101.000000:060", CIM_DATETIME,
         std::string("'00000001010101.000000:060' is no datetime: ") + TIMES},
        {L"x", CIM_REAL32, "'x' is no real32: a number such as 1.5"},
        {L"1e999", CIM_REAL64, "'1e999' is no real64: a number such as 1.5"},
        {L"1.5x", CIM_REAL64, "'1.5x' is no real64: a number such as 1.5"},
        {L"nan", CIM_REAL64, "'nan' is no real64: a number such as 1.5"},
        {L"1,x", CIM_UINT16 | CIM_FLAG_ARRAY, "'x' is no uint16: a whole number from 0 to 65535"},
        {L"x", CIM_OBJECT, "'x' is no value that can be given as text"}};
    for (const auto& [text, type, message] : rows) {
        try {
            valueFromText(text, type);
            ADD_FAILURE() << "accepted, instead of: " << message;
        } catch (const ValueError& error) {
            EXPECT_EQ(error.what(), message);
        }
    }
}

}  // namespace
}  // namespace wmihost
