#include "wmihost/wql/Condition.h"

#include <gtest/gtest.h>

#include "tests/wmihost/TestObjects.h"
#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"

namespace wmihost::wql {
namespace {

constexpr const char* mof = R"(
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
    const ClassRepository repository = compiled(mof);
    const ClassPointer definition = classIn(repository, L"Derived");
    const ComPtr<IWbemClassObject> object = instanceOf(repository, L"Derived");
};

struct ConditionCase
{
    const char* name;
    const char* condition;
    const char* answer;
};

void PrintTo(const ConditionCase& row, std::ostream* stream)
{
    *stream << row.condition;
}

class ConditionCases : public ConditionTest, public testing::WithParamInterface<ConditionCase>
{
};

TEST_P(ConditionCases, AreDecidedAsDocumented)
{
    EXPECT_EQ(answer(GetParam().condition), GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ConditionCases,
    testing::Values(
        // Texts, without case.
        ConditionCase{"TextEqual", "Name = 'ETH0'", "true"}, ConditionCase{"TextNotEqual", "name <> 'eth1'", "true"},
        ConditionCase{"TextLess", "Name < 'eth1'", "true"},
        ConditionCase{"TextGreaterOrEqual", "Name >= 'ETH1'", "false"},
        ConditionCase{"ConstantFirst", "'eth0' = Name", "true"}, ConditionCase{"TextLike", "Name LIKE 'e_h%'", "true"},
        ConditionCase{"TextNotLike", "NOT Name LIKE '%[1-9]'", "true"},
        // Numbers.
        ConditionCase{"NumberEqual", "Count = 10", "true"}, ConditionCase{"NumberAsText", "Count = '10'", "true"},
        ConditionCase{"NumberLess", "Count < 9", "false"}, ConditionCase{"NumberConstantFirst", "9 < Count", "true"},
        ConditionCase{"Hexadecimal", "Count = 0xA", "true"}, ConditionCase{"NegativeGreater", "Below > -6", "true"},
        ConditionCase{"NegativeLess", "Below < 0", "true"},
        ConditionCase{"LargestEqual", "Large = 18446744073709551615", "true"},
        ConditionCase{"LargestGreater", "Large > 18446744073709551614", "true"},
        ConditionCase{"RealGreaterOrEqual", "Share >= 0.5", "true"}, ConditionCase{"RealLess", "Share < 5e-1", "false"},
        // Booleans.
        ConditionCase{"BooleanTrue", "Primary = TRUE", "true"}, ConditionCase{"BooleanOne", "Primary = 1", "true"},
        ConditionCase{"BooleanNotFalse", "Primary <> FALSE", "true"},
        ConditionCase{"BooleanAsText", "Primary = 'false'", "false"},
        ConditionCase{"BooleanNotOne", "Primary != 1", "false"}, ConditionCase{"BooleanYes", "Primary = yes", "true"},
        // Words of the value map.
        ConditionCase{"Word", "State = 'enabled'", "true"}, ConditionCase{"OtherWord", "State = Disabled", "false"},
        ConditionCase{"NumberOfAWord", "State = 2", "true"},
        // Datetimes, as points in time.
        ConditionCase{"DatetimeInUtc", "Start = '20261121110000.500000+000'", "true"},
        ConditionCase{"DatetimeAfterADay", "Start > '20261121'", "true"},
        ConditionCase{"DatetimeBeforeASecond", "Start < '20261121110001'", "true"},
        ConditionCase{"DatetimeBeforeADay", "Start >= '20270101'", "false"},
        ConditionCase{"DatetimeWithOffset", "Start < '20261121060001.000000-300'", "true"},
        ConditionCase{"Interval", "Duration > '00000001020303.000000:000'", "true"},
        // No value.
        ConditionCase{"IsNull", "Nothing IS NULL", "true"}, ConditionCase{"IsNotNull", "Nothing IS NOT NULL", "false"},
        ConditionCase{"EqualsNull", "Name = NULL", "false"}, ConditionCase{"DiffersFromNull", "Name <> NULL", "true"},
        ConditionCase{"NullEqual", "Nothing = 'x'", "unknown"},
        ConditionCase{"NullNotEqual", "NOT Nothing = 'x'", "unknown"},
        ConditionCase{"NullLess", "NoNumber < 1", "unknown"},
        ConditionCase{"NullOrTrue", "NoNumber = 1 OR Count = 10", "true"},
        ConditionCase{"NullAndFalse", "NoNumber = 1 AND Count = 11", "false"},
        ConditionCase{"NullAndTrue", "NoNumber = 1 AND Count = 10", "unknown"},
        ConditionCase{"ArrayIsNotNull", "Texts IS NOT NULL", "true"},
        ConditionCase{"ObjectIsNull", "Target IS NULL", "true"},
        // AND, OR and NOT.
        ConditionCase{"AndTrue", "Count=10 AND Below=-5", "true"},
        ConditionCase{"AndFalse", "Count=11 AND Below=-5", "false"},
        ConditionCase{"OrTrue", "Count=11 OR Below=-5", "true"},
        ConditionCase{"NotOr", "NOT (Count=11 OR Below=-5)", "false"},
        ConditionCase{"AndBeforeOr", "Count=11 AND Below=1 OR Name='eth0'", "true"},
        ConditionCase{"Parentheses", "Count=11 AND (Below=1 OR Name='eth0')", "false"},
        // The class.
        ConditionCase{"ClassItself", "__CLASS = 'Derived'", "true"},
        ConditionCase{"ClassOfABase", "__CLASS = 'Outer'", "false"},
        ConditionCase{"ThisIsABase", "__THIS ISA 'Outer'", "true"},
        ConditionCase{"ThisIsNoOther", "__THIS ISA 'Inner'", "false"},
        ConditionCase{"ClassLike", "__CLASS LIKE 'D%'", "true"},
        ConditionCase{"Superclass", "__SUPERCLASS = 'Outer'", "true"}),
    [](const auto& row) { return std::string(row.param.name); });

struct Misfit
{
    const char* name;
    const char* condition;
    const char* reason;
};

void PrintTo(const Misfit& row, std::ostream* stream)
{
    *stream << row.condition;
}

class Misfits : public ConditionTest, public testing::WithParamInterface<Misfit>
{
};

TEST_P(Misfits, AreRefusedBeforeAnythingIsAsked)
{
    try {
        answer(GetParam().condition);
        FAIL() << "the condition was taken";
    } catch (const QueryError& error) {
        const std::string text = error.what();
        EXPECT_EQ(text.substr(0, text.find('\n')), GetParam().reason);
    } catch (const RequestError& error) {
        EXPECT_EQ(error.status(), code(WBEM_E_INVALID_PROPERTY));
        EXPECT_STREQ(error.what(), GetParam().reason);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, Misfits,
    testing::Values(
        Misfit{"UnknownProperty", "Cuont = 1", "the class Derived has no property Cuont; did you mean Count?"},
        Misfit{"TextForANumber", "Count = many", "at character 9: Count is a number; 'many' is not"},
        Misfit{"WordThatIsNone", "State = 'on'",
               "at character 9: State is a number; 'on' is neither one nor a word for one (Enabled, Disabled)"},
        Misfit{"BooleanForANumber", "Count = TRUE", "at character 9: Count is a number; 'TRUE' is not"},
        Misfit{"TextForABoolean", "Primary = maybe",
               "at character 11: Primary is a boolean; 'maybe' is not TRUE, FALSE, 1 or 0"},
        Misfit{"BooleanInAnOrder", "Primary < TRUE",
               "at character 1: Primary is a boolean, which takes = and <> alone"},
        Misfit{"TextForADate", "Start > yesterday",
               "at character 9: Start is a datetime; 'yesterday' is neither a date (2026-11-21, "
               "20261121094500.000000+060) nor an interval (00000001020304.000000:000)"},
        Misfit{"LikeOfANumber", "Count LIKE '1%'", "at character 1: Count is not a text, which LIKE needs"},
        Misfit{"Array", "Texts = 'a'", "at character 1: Texts is an array, which takes IS NULL and IS NOT NULL alone"},
        Misfit{"IsaOfAText", "Name ISA 'Inner'", "at character 1: Name holds no object, which ISA needs"},
        Misfit{"PartOfAText", "Name.Size = 1", "at character 1: Name holds no object, so that it has no properties"},
        Misfit{"ObjectAsAText", "Target = 'x'",
               "at character 1: Target holds an object, which takes ISA and IS NULL alone"},
        Misfit{"ThisAsAText", "__THIS = 'x'", "at character 1: __THIS is the object itself, and takes ISA alone"}),
    [](const auto& row) { return std::string(row.param.name); });

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
