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
        ConditionCase{"Name = 'ETH0'", "true"}, ConditionCase{"name <> 'eth1'", "true"},
        ConditionCase{"Name < 'eth1'", "true"}, ConditionCase{"Name >= 'ETH1'", "false"},
        ConditionCase{"'eth0' = Name", "true"}, ConditionCase{"Name LIKE 'e_h%'", "true"},
        ConditionCase{"NOT Name LIKE '%[1-9]'", "true"},
        // Numbers.
        ConditionCase{"Count = 10", "true"}, ConditionCase{"Count = '10'", "true"}, ConditionCase{"Count < 9", "false"},
        ConditionCase{"9 < Count", "true"}, ConditionCase{"Count = 0xA", "true"}, ConditionCase{"Below > -6", "true"},
        ConditionCase{"Below < 0", "true"}, ConditionCase{"Large = 18446744073709551615", "true"},
        ConditionCase{"Large > 18446744073709551614", "true"}, ConditionCase{"Share >= 0.5", "true"},
        ConditionCase{"Share < 5e-1", "false"},
        // Booleans.
        ConditionCase{"Primary = TRUE", "true"}, ConditionCase{"Primary = 1", "true"},
        ConditionCase{"Primary <> FALSE", "true"}, ConditionCase{"Primary = 'false'", "false"},
        ConditionCase{"Primary != 1", "false"}, ConditionCase{"Primary = yes", "true"},
        // Words of the value map.
        ConditionCase{"State = 'enabled'", "true"}, ConditionCase{"State = Disabled", "false"},
        ConditionCase{"State = 2", "true"},
        // Datetimes, as points in time.
        ConditionCase{"Start = '20261121110000.500000+000'", "true"}, ConditionCase{"Start > '20261121'", "true"},
        ConditionCase{"Start < '20261121110001'", "true"}, ConditionCase{"Start >= '20270101'", "false"},
        ConditionCase{"Start < '20261121060001.000000-300'", "true"},
        ConditionCase{"Duration > '00000001020303.000000:000'", "true"},
        // No value.
        ConditionCase{"Nothing IS NULL", "true"}, ConditionCase{"Nothing IS NOT NULL", "false"},
        ConditionCase{"Name = NULL", "false"}, ConditionCase{"Name <> NULL", "true"},
        ConditionCase{"Nothing = 'x'", "unknown"}, ConditionCase{"NOT Nothing = 'x'", "unknown"},
        ConditionCase{"NoNumber < 1", "unknown"}, ConditionCase{"NoNumber = 1 OR Count = 10", "true"},
        ConditionCase{"NoNumber = 1 AND Count = 11", "false"}, ConditionCase{"NoNumber = 1 AND Count = 10", "unknown"},
        ConditionCase{"Texts IS NOT NULL", "true"}, ConditionCase{"Target IS NULL", "true"},
        // AND, OR and NOT.
        ConditionCase{"Count=10 AND Below=-5", "true"}, ConditionCase{"Count=11 AND Below=-5", "false"},
        ConditionCase{"Count=11 OR Below=-5", "true"}, ConditionCase{"NOT (Count=11 OR Below=-5)", "false"},
        ConditionCase{"Count=11 AND Below=1 OR Name='eth0'", "true"},
        ConditionCase{"Count=11 AND (Below=1 OR Name='eth0')", "false"},
        // The class.
        ConditionCase{"__CLASS = 'Derived'", "true"}, ConditionCase{"__CLASS = 'Outer'", "false"},
        ConditionCase{"__THIS ISA 'Outer'", "true"}, ConditionCase{"__THIS ISA 'Inner'", "false"},
        ConditionCase{"__CLASS LIKE 'D%'", "true"}, ConditionCase{"__SUPERCLASS = 'Outer'", "true"}));

struct Misfit
{
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
        Misfit{"Cuont = 1", "the class Derived has no property Cuont; did you mean Count?"},
        Misfit{"Count = many", "at character 9: Count is a number; 'many' is not"},
        Misfit{"State = 'on'",
               "at character 9: State is a number; 'on' is neither one nor a word for one (Enabled, Disabled)"},
        Misfit{"Count = TRUE", "at character 9: Count is a number; 'TRUE' is not"},
        Misfit{"Primary = maybe", "at character 11: Primary is a boolean; 'maybe' is not TRUE, FALSE, 1 or 0"},
        Misfit{"Primary < TRUE", "at character 1: Primary is a boolean, which takes = and <> alone"},
        Misfit{"Start > yesterday",
               "at character 9: Start is a datetime; 'yesterday' is neither a date (2026-11-21, "
               "20261121094500.000000+060) nor an interval (00000001020304.000000:000)"},
        Misfit{"Count LIKE '1%'", "at character 1: Count is not a text, which LIKE needs"},
        Misfit{"Texts = 'a'", "at character 1: Texts is an array, which takes IS NULL and IS NOT NULL alone"},
        Misfit{"Name ISA 'Inner'", "at character 1: Name holds no object, which ISA needs"},
        Misfit{"Name.Size = 1", "at character 1: Name holds no object, so that it has no properties"},
        Misfit{"Target = 'x'", "at character 1: Target holds an object, which takes ISA and IS NULL alone"},
        Misfit{"__THIS = 'x'", "at character 1: __THIS is the object itself, and takes ISA alone"}));

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
    EXPECT_EQ(answer("Target IS NOT NULL"), "true");
}

TEST_F(ConditionTest, PropertyOfNoObject_isUnknown)
{
    EXPECT_EQ(answer("Target.Size = 8"), "unknown");
    EXPECT_EQ(answer("Target.Size IS NULL"), "true");
}

}  // namespace
}  // namespace wmihost::wql
