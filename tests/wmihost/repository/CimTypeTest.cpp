#include "wmihost/repository/CimType.h"

#include <gtest/gtest.h>

#include "tests/wmihost/TextRow.h"

namespace wmihost {
namespace {

Variant ofType(VARTYPE type, long long bits)
{
    Variant result;
    VARIANT* value = result.put();
    value->llVal = bits;
    value->vt = type;
    return result;
}

struct CoerceRow
{
    const char* name;
    Variant given;
    CIMTYPE type;
    std::optional<Variant> expected;
};

class Coerce : public testing::TestWithParam<CoerceRow>
{
};

TEST_P(Coerce, Value_isStoredLikeWmiDoes)
{
    const CoerceRow& row = GetParam();
    const auto stored = coerce(row.given.get(), row.type);
    ASSERT_EQ(stored.has_value(), row.expected.has_value());
    if (stored) {
        EXPECT_TRUE(sameValue(stored->get(), row.expected->get()));
    }
}

const std::vector<CoerceRow>& coerceRows()
{
    constexpr CIMTYPE NUMBERS = CIM_UINT16 | CIM_FLAG_ARRAY;
    static const std::vector<CoerceRow> rows{
        {"NullFitsEverything", Variant(), CIM_UINT32, Variant()},
        {"EmptyIsNull", ofType(VT_EMPTY, 0), CIM_STRING, Variant()},
        {"Uint8TakesItsOwnType", Variant::ofByte(200), CIM_UINT8, Variant::ofByte(200)},
        {"Uint8TakesASmallLong", Variant::ofLong(255), CIM_UINT8, Variant::ofByte(255)},
        {"Uint8RefusesALargeLong", Variant::ofLong(256), CIM_UINT8, std::nullopt},
        {"Uint16TakesItsLargestValue", Variant::ofLong(65535), CIM_UINT16, Variant::ofLong(65535)},
        {"Uint16RefusesMore", Variant::ofLong(65536), CIM_UINT16, std::nullopt},
        {"Uint16RefusesLess", Variant::ofLong(-1), CIM_UINT16, std::nullopt},
        {"Uint16TakesText", Variant::ofText(L"12"), CIM_UINT16, Variant::ofLong(12)},
        {"Uint16RefusesOtherText", Variant::ofText(L"twelve"), CIM_UINT16, std::nullopt},
        {"Uint32TakesAnyBits", Variant::ofLong(-1), CIM_UINT32, Variant::ofLong(-1)},
        {"Uint32RefusesAShort", Variant::ofShort(1), CIM_UINT32, std::nullopt},
        {"Uint32TakesALargeText", Variant::ofText(L"4294967295"), CIM_UINT32, Variant::ofLong(-1)},
        {"Sint32TakesAShort", Variant::ofShort(-7), CIM_SINT32, Variant::ofLong(-7)},
        {"Sint8TakesItsRange", Variant::ofLong(-128), CIM_SINT8, Variant::ofShort(-128)},
        {"Sint8RefusesMore", Variant::ofLong(128), CIM_SINT8, std::nullopt},
        {"Uint64BecomesThePlainDecimal", Variant::ofText(L"007"), CIM_UINT64, Variant::ofText(L"7")},
        {"Uint64RefusesOtherText", Variant::ofText(L"x"), CIM_UINT64, std::nullopt},
        {"Uint64TakesALong", Variant::ofLong(5), CIM_UINT64, Variant::ofText(L"5")},
        {"Uint64RefusesANegativeLong", Variant::ofLong(-5), CIM_UINT64, std::nullopt},
        {"Sint64TakesANegativeText", Variant::ofText(L"-5"), CIM_SINT64, Variant::ofText(L"-5")},
        {"BooleanKeepsTheOneThatIsNotMinusOne", ofType(VT_BOOL, 1), CIM_BOOLEAN, ofType(VT_BOOL, 1)},
        {"BooleanTakesANumber", Variant::ofLong(2), CIM_BOOLEAN, Variant::ofBool(true)},
        {"StringTakesANumber", Variant::ofLong(42), CIM_STRING, Variant::ofText(L"42")},
        {"StringRefusesAnArray", Variant::ofTexts({L"a"}), CIM_STRING, std::nullopt},
        {"DatetimeRefusesANumber", Variant::ofLong(1), CIM_DATETIME, std::nullopt},
        {"DatetimeTakesItsOwnForm", Variant::ofText(L"20261121094145.000000+000"), CIM_DATETIME,
         Variant::ofText(L"20261121094145.000000+000")},
        {"DatetimeRefusesOtherText", Variant::ofText(L"2026-11-21"), CIM_DATETIME, std::nullopt},
        {"ReferenceRefusesANumber", Variant::ofLong(1), CIM_REFERENCE, std::nullopt},
        {"Real64TakesANumber", Variant::ofLong(2), CIM_REAL64, Variant::ofDouble(2)},
        {"ArrayTakesItsOwnType", Variant::ofArray(VT_I4, {Variant::ofLong(1)}), NUMBERS,
         Variant::ofArray(VT_I4, {Variant::ofLong(1)})},
        {"ArrayIsCoercedElementByElement", Variant::ofTexts({L"1", L"2"}), NUMBERS,
         Variant::ofArray(VT_I4, {Variant::ofLong(1), Variant::ofLong(2)})},
        {"ArrayRefusesOneBadElement", Variant::ofTexts({L"1", L"x"}), NUMBERS, std::nullopt},
        {"ArrayRefusesAScalar", Variant::ofLong(1), NUMBERS, std::nullopt},
    };
    return rows;
}

INSTANTIATE_TEST_SUITE_P(Table, Coerce, testing::ValuesIn(coerceRows()), rowName);

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

TEST(CimType, ArrayOfVariants_withAnEmptyElement_doesNotFit)
{
    VARIANT value;
    value.vt = VT_ARRAY | VT_VARIANT;
    value.parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
    EXPECT_FALSE(coerce(value, CIM_UINT16 | CIM_FLAG_ARRAY));
    VariantClear(&value);
}

TEST(CimType, ArrayOfTwoDimensions_doesNotFit)
{
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
    VARIANT value;
    value.vt = VT_ARRAY | VT_I4;
    value.parray = SafeArrayCreate(VT_I4, 2, bounds);
    EXPECT_FALSE(coerce(value, CIM_UINT32 | CIM_FLAG_ARRAY));
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

TEST(CimType, TextOfA64BitNumber_becomesItsDecimal)
{
    const auto stored = [](const wchar_t* text, CIMTYPE type) {
        const auto value = coerce(Variant::ofText(text).get(), type);
        return value ? std::wstring(viewOf(value->get().bstrVal)) : L"does not fit";
    };
    EXPECT_EQ(stored(L"007", CIM_UINT64), L"7");
    EXPECT_EQ(stored(L"0xFFFFFFFFFFFFFFFF", CIM_UINT64), L"18446744073709551615");
    EXPECT_EQ(stored(L"+5", CIM_SINT64), L"5");
    EXPECT_EQ(stored(L"-0", CIM_SINT64), L"0");
    EXPECT_EQ(stored(L"-0x10", CIM_SINT64), L"-16");
    EXPECT_EQ(stored(L"18446744073709551616", CIM_UINT64), L"does not fit");
    EXPECT_EQ(stored(L" 5", CIM_UINT64), L"does not fit");
}

TEST(CimType, Reals_areWrittenInTheFewestDigits)
{
    EXPECT_EQ(scalarText(Variant::ofDouble(0.1).get(), CIM_REAL64), L"0.1");
    EXPECT_EQ(scalarText(Variant::ofFloat(0.1F).get(), CIM_REAL32), L"0.1");
    EXPECT_EQ(scalarText(Variant::ofDouble(1e300).get(), CIM_REAL64), L"1e+300");
    EXPECT_EQ(valueFromText(L"-1.7976931348623157E+308", CIM_REAL64).get().dblVal, -1.7976931348623157e308);
    EXPECT_THROW(valueFromText(L"1e999", CIM_REAL64), ValueError);
    EXPECT_THROW(valueFromText(L"1.5x", CIM_REAL64), ValueError);
    EXPECT_THROW(valueFromText(L"nan", CIM_REAL64), ValueError);
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
}

std::string complaint(const wchar_t* text, CIMTYPE type)
{
    try {
        valueFromText(text, type);
    } catch (const ValueError& error) {
        return error.what();
    }
    return "no complaint";
}

TEST(CimType, Refusal_saysWhichValuesThereAre)
{
    EXPECT_EQ(complaint(L"256", CIM_UINT8), "'256' is no uint8: a whole number from 0 to 255");
    EXPECT_EQ(complaint(L"-129", CIM_SINT8), "'-129' is no sint8: a whole number from -128 to 127");
    EXPECT_EQ(complaint(L"", CIM_UINT32), "'' is no uint32: a whole number from 0 to 4294967295");
    EXPECT_EQ(complaint(L"maybe", CIM_BOOLEAN), "'maybe' is no boolean: true or false");
    EXPECT_EQ(complaint(L"soon", CIM_DATETIME),
              "'soon' is no datetime: yyyymmddhhmmss.ffffff+uuu or, for an interval, ddddddddhhmmss.ffffff:000");
    EXPECT_EQ(complaint(L"x", CIM_REAL32), "'x' is no real32: a number such as 1.5");
    EXPECT_EQ(complaint(L"1,x", CIM_UINT16 | CIM_FLAG_ARRAY), "'x' is no uint16: a whole number from 0 to 65535");
    EXPECT_EQ(complaint(L"x", CIM_OBJECT), "'x' is no value that can be given as text");
}

TEST(CimType, Datetime_hasTwoForms)
{
    EXPECT_FALSE(valueFromText(L"20261121094145.000000+000", CIM_DATETIME).isNull());
    EXPECT_FALSE(valueFromText(L"00000001010101.000000:000", CIM_DATETIME).isNull());
    EXPECT_FALSE(valueFromText(L"2026112109****.******-060", CIM_DATETIME).isNull());
    EXPECT_THROW(valueFromText(L"00000001010101.000000:060", CIM_DATETIME), ValueError);
}

}  // namespace
}  // namespace wmihost
