#include "wmihost/wql/Condition.h"

#include <gtest/gtest.h>

#include "tests/wmihost/TestObjects.h"
#include "tests/wmihost/TextRow.h"
#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"

namespace wmihost::wql {
namespace {

constexpr const char* MOF = R"(
class Inner { [key] string Name; uint32 Size; };
class Special : Inner { };
class Outer
{
    [key] string Name;
    uint16 Count;
    sint32 Below;
    uint64 Large;
    real64 Share;
    boolean Primary;
    datetime Start;
    datetime Duration;
    [ValueMap{"2", "3"} : ToSubclass, Values{"Enabled", "Disabled"} : ToSubclass] uint16 State;
    string Texts[];
    string Nothing;
    uint32 NoNumber;
    object Target;
};
class Derived : Outer { };
)";

class ConditionTest : public testing::Test
{
protected:
    ConditionTest()
    {
        put(object, L"Name", Variant::ofText(L"eth0"));
        put(object, L"Count", Variant::ofLong(10));
        put(object, L"Below", Variant::ofLong(-5));
        put(object, L"Large", Variant::ofText(L"18446744073709551615"));
        put(object, L"Share", Variant::ofDouble(0.5));
        put(object, L"Primary", Variant::ofBool(true));
        put(object, L"Start", Variant::ofText(L"20261121120000.500000+060"));
        put(object, L"Duration", Variant::ofText(L"00000001020304.000000:000"));
        put(object, L"State", Variant::ofLong(2));
        put(object, L"Texts", Variant::ofTexts({L"a", L"b"}));
    }

    std::string answer(const std::string& text) const
    {
        const Condition condition = parseCondition(text);
        checkCondition(condition, *definition);
        const auto result = holds(condition, *definition, *object.get());
        return !result ? "unknown" : *result ? "true" : "false";
    }

    const ComApartment apartment;
    const ClassRepository repository = compiled(MOF);
    const ClassPointer definition = classIn(repository, L"Derived");
    const ComPtr<IWbemClassObject> object = instanceOf(repository, L"Derived");
};

class ConditionCases : public ConditionTest, public testing::WithParamInterface<TextRow>
{
};

TEST_P(ConditionCases, Condition_isDecidedAsDocumented)
{
    EXPECT_EQ(answer(GetParam().given), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ConditionCases,
    testing::Values(
        // Texts, without case.
        TextRow{"TextEqual", "Name = 'ETH0'", "true"}, TextRow{"TextNotEqual", "name <> 'eth1'", "true"},
        TextRow{"TextLess", "Name < 'eth1'", "true"}, TextRow{"TextGreaterOrEqual", "Name >= 'ETH1'", "false"},
        TextRow{"ConstantFirst", "'eth0' = Name", "true"}, TextRow{"TextLike", "Name LIKE 'e_h%'", "true"},
        TextRow{"TextNotLike", "NOT Name LIKE '%[1-9]'", "true"},
        // Numbers.
        TextRow{"NumberEqual", "Count = 10", "true"}, TextRow{"NumberAsText", "Count = '10'", "true"},
        TextRow{"NumberLess", "Count < 9", "false"}, TextRow{"NumberConstantFirst", "9 < Count", "true"},
        TextRow{"Hexadecimal", "Count = 0xA", "true"}, TextRow{"NegativeGreater", "Below > -6", "true"},
        TextRow{"NegativeLess", "Below < 0", "true"}, TextRow{"LargestEqual", "Large = 18446744073709551615", "true"},
        TextRow{"LargestGreater", "Large > 18446744073709551614", "true"},
        TextRow{"RealGreaterOrEqual", "Share >= 0.5", "true"}, TextRow{"RealLess", "Share < 5e-1", "false"},
        // Booleans.
        TextRow{"BooleanTrue", "Primary = TRUE", "true"}, TextRow{"BooleanOne", "Primary = 1", "true"},
        TextRow{"BooleanNotFalse", "Primary <> FALSE", "true"}, TextRow{"BooleanAsText", "Primary = 'false'", "false"},
        TextRow{"BooleanNotOne", "Primary != 1", "false"}, TextRow{"BooleanYes", "Primary = yes", "true"},
        // Words of the value map.
        TextRow{"Word", "State = 'enabled'", "true"}, TextRow{"OtherWord", "State = Disabled", "false"},
        TextRow{"NumberOfAWord", "State = 2", "true"},
        // Datetimes, as points in time.
        TextRow{"DatetimeInUtc", "Start = '20261121110000.500000+000'", "true"},
        TextRow{"DatetimeAfterADay", "Start > '20261121'", "true"},
        TextRow{"DatetimeBeforeASecond", "Start < '20261121110001'", "true"},
        TextRow{"DatetimeBeforeADay", "Start >= '20270101'", "false"},
        TextRow{"DatetimeWithOffset", "Start < '20261121060001.000000-300'", "true"},
        TextRow{"Interval", "Duration > '00000001020303.000000:000'", "true"},
        // No value.
        TextRow{"IsNull", "Nothing IS NULL", "true"}, TextRow{"IsNotNull", "Nothing IS NOT NULL", "false"},
        TextRow{"EqualsNull", "Name = NULL", "false"}, TextRow{"DiffersFromNull", "Name <> NULL", "true"},
        TextRow{"NullEqual", "Nothing = 'x'", "unknown"}, TextRow{"NullNotEqual", "NOT Nothing = 'x'", "unknown"},
        TextRow{"NullLess", "NoNumber < 1", "unknown"}, TextRow{"NullOrTrue", "NoNumber = 1 OR Count = 10", "true"},
        TextRow{"NullAndFalse", "NoNumber = 1 AND Count = 11", "false"},
        TextRow{"NullAndTrue", "NoNumber = 1 AND Count = 10", "unknown"},
        TextRow{"ArrayIsNotNull", "Texts IS NOT NULL", "true"}, TextRow{"ObjectIsNull", "Target IS NULL", "true"},
        // AND, OR and NOT.
        TextRow{"AndTrue", "Count=10 AND Below=-5", "true"}, TextRow{"AndFalse", "Count=11 AND Below=-5", "false"},
        TextRow{"OrTrue", "Count=11 OR Below=-5", "true"}, TextRow{"NotOr", "NOT (Count=11 OR Below=-5)", "false"},
        TextRow{"AndBeforeOr", "Count=11 AND Below=1 OR Name='eth0'", "true"},
        TextRow{"Parentheses", "Count=11 AND (Below=1 OR Name='eth0')", "false"},
        // The class.
        TextRow{"ClassItself", "__CLASS = 'Derived'", "true"}, TextRow{"ClassOfABase", "__CLASS = 'Outer'", "false"},
        TextRow{"ThisIsABase", "__THIS ISA 'Outer'", "true"}, TextRow{"ThisIsNoOther", "__THIS ISA 'Inner'", "false"},
        TextRow{"ClassLike", "__CLASS LIKE 'D%'", "true"}, TextRow{"Superclass", "__SUPERCLASS = 'Outer'", "true"},
        TextRow{"SystemNumber", "__GENUS = 2 AND __PROPERTY_COUNT > 11", "true"},
        TextRow{"SystemArray", "__DERIVATION IS NULL", "false"}),
    rowName);

class Misfits : public ConditionTest, public testing::WithParamInterface<TextRow>
{
};

TEST_P(Misfits, Condition_isRefusedBeforeAnyRequest)
{
    try {
        answer(GetParam().given);
        FAIL() << "the condition was taken";
    } catch (const QueryError& error) {
        const std::string text = error.what();
        EXPECT_EQ(text.substr(0, text.find('\n')), GetParam().expected);
    } catch (const RequestError& error) {
        EXPECT_EQ(error.status(), code(WBEM_E_INVALID_PROPERTY));
        EXPECT_STREQ(error.what(), GetParam().expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, Misfits,
    testing::Values(
        TextRow{"UnknownProperty", "Cuont = 1", "the class Derived has no property Cuont; did you mean Count?"},
        TextRow{"TextForANumber", "Count = many", "at character 9: Count is a number; 'many' is not"},
        TextRow{"WordThatIsNone", "State = 'on'",
                "at character 9: State is a number; 'on' is neither one nor a word for one (Enabled, Disabled)"},
        TextRow{"BooleanForANumber", "Count = TRUE", "at character 9: Count is a number; 'TRUE' is not"},
        TextRow{"TextForABoolean", "Primary = maybe",
                "at character 11: Primary is a boolean; 'maybe' is not TRUE, FALSE, 1 or 0"},
        TextRow{"BooleanInAnOrder", "Primary < TRUE",
                "at character 1: Primary is a boolean, which takes = and <> alone"},
        TextRow{"TextForADate", "Start > yesterday",
                "at character 9: Start is a datetime; 'yesterday' is neither a date (2026-11-21, "
                "20261121094500.000000+060) nor an interval (00000001020304.000000:000)"},
        TextRow{"LikeOfANumber", "Count LIKE '1%'", "at character 1: Count is not a text, which LIKE needs"},
        TextRow{"Array", "Texts = 'a'", "at character 1: Texts is an array, which takes IS NULL and IS NOT NULL alone"},
        TextRow{"IsaOfAText", "Name ISA 'Inner'", "at character 1: Name holds no object, which ISA needs"},
        TextRow{"PartOfAText", "Name.Size = 1", "at character 1: Name holds no object, so that it has no properties"},
        TextRow{"ObjectAsAText", "Target = 'x'",
                "at character 1: Target holds an object, which takes ISA and IS NULL alone"},
        TextRow{"SystemNumberAsAText", "__GENUS = 'two'", "at character 11: __GENUS is a number; 'two' is not"},
        TextRow{"UnknownSystemProperty", "__GENDER = 2", "the class Derived has no property __GENDER"},
        TextRow{"ThisAsAText", "__THIS = 'x'", "at character 1: __THIS is the object itself, and takes ISA alone"}),
    rowName);

TEST_F(ConditionTest, EmbeddedObject_isLookedInto)
{
    const auto inner = instanceOf(repository, L"Special");
    put(inner, L"Name", Variant::ofText(L"disk"));
    put(inner, L"Size", Variant::ofLong(7));
    VARIANT value;
    value.vt = VT_UNKNOWN;
    value.punkVal = inner.get();
    ASSERT_EQ(object->Put(L"Target", 0, &value, 0), 0);
    EXPECT_EQ(answer("Target ISA 'Inner'"), "true");
    EXPECT_EQ(answer("Target ISA 'Outer'"), "false");
    EXPECT_EQ(answer("Target.Name = 'DISK' AND Target.Size > 6"), "true");
    EXPECT_EQ(answer("Target.Size = 8"), "false");
    EXPECT_EQ(answer("Target.NoSuchName = 8"), "unknown");
    EXPECT_EQ(answer("Target IS NOT NULL"), "true");
}

TEST_F(ConditionTest, PropertyOfNoObject_isUnknown)
{
    EXPECT_EQ(answer("Target.Size = 8"), "unknown");
    EXPECT_EQ(answer("Target.Size IS NULL"), "true");
}

}  // namespace
}  // namespace wmihost::wql
