#include "wmihost/mof/MofText.h"

#include <gtest/gtest.h>

#include <limits>

#include "wmihost/TestObjects.h"

namespace wmihost {
namespace {

constexpr const char* MOF = R"(
class Base { [key] string Name; uint8 Kept = 1; };
[Description("say \"hi\""), Version(3): ToInstance]
class Derived : Base
{
    [read, ValueMap{"1"}] uint16 Numbers[] = {1, 2};
    Base ref Link;
    object:Base Inner;
    [implemented] uint32 Do([in] uint16 Count, [in, out] string Texts[], [out] Base ref Job);
    void Quiet();
};
)";

TEST(MofText, ClassText_hasWhatTheClassDeclares)
{
    const ClassRepository repository = compiled(MOF);
    EXPECT_EQ(classText(*classIn(repository, L"Derived"), false),
              L"[Description(\"say \\\"hi\\\"\"), Version(3)]\n"
              L"class Derived : Base\n"
              L"{\n"
              L"    [read, ValueMap{\"1\"}] uint16 Numbers[] = {1, 2};\n"
              L"    Base ref Link;\n"
              L"    object:Base Inner;\n"
              L"    [implemented] uint32 Do([in] uint16 Count, [in, out] string Texts[], [out] Base ref Job);\n"
              L"    void Quiet();\n"
              L"};\n");
}

TEST(MofText, ClassText_hasFlavorsOnDemand)
{
    const ClassRepository repository = compiled(MOF);
    EXPECT_EQ(
        classText(*classIn(repository, L"Base"), true),
        L"class Base\n{\n    [key : DisableOverride ToInstance ToSubclass] string Name;\n    uint8 Kept = 1;\n};\n");
}

TEST(MofText, InstanceText_hasThePropertiesWithValues)
{
    const ClassRepository repository = compiled(MOF);
    InstanceData data(classIn(repository, L"Derived"));
    data.values[0] = Variant::ofText(L"n");
    EXPECT_EQ(instanceText(*data.definition, data.values),
              L"instance of Derived\n{\n    Name = \"n\";\n    Kept = 1;\n    Numbers = {1, 2};\n};\n");
}

TEST(MofText, Literal_isSpelledAsInMof)
{
    EXPECT_EQ(mofLiteral(Variant::ofText(L"a\"b\\c\n").get(), CIM_STRING), L"\"a\\\"b\\\\c\\n\"");
    EXPECT_EQ(mofLiteral(Variant::ofText(L"42").get(), CIM_UINT64), L"42");
    EXPECT_EQ(mofLiteral(Variant::ofLong(-1).get(), CIM_UINT32), L"4294967295");
    EXPECT_EQ(mofLiteral(Variant::ofLong(-1).get(), CIM_SINT32), L"-1");
    EXPECT_EQ(mofLiteral(Variant::ofBool(false).get(), CIM_BOOLEAN), L"FALSE");
    EXPECT_EQ(mofLiteral(Variant().get(), CIM_STRING), L"NULL");
    EXPECT_EQ(mofLiteral(Variant::ofTexts({L"a", L"b"}).get(), CIM_STRING | CIM_FLAG_ARRAY), L"{\"a\", \"b\"}");
}

TEST(MofText, ControlCharactersAndLoneSurrogates_areEscaped)
{
    EXPECT_EQ(mofQuoted(std::wstring(L"\x1"
                                     L"2\b\f\t\x7F")),
              L"\"\\x00012\\b\\f\\t\\x007F\"");
    EXPECT_EQ(mofQuoted(std::wstring{0xD834, 0xDD1E}), (std::wstring{L'"', 0xD834, 0xDD1E, L'"'}));
    EXPECT_EQ(mofQuoted(std::wstring{0xD834}), L"\"\\xD834\"");
    EXPECT_EQ(mofQuoted(std::wstring{0xDD1E, L'a'}), L"\"\\xDD1Ea\"");
}

TEST(MofText, Reals_haveAPointWithDigitsOnBothSides)
{
    EXPECT_EQ(mofLiteral(Variant::ofDouble(1e300).get(), CIM_REAL64), L"1.0e+300");
    EXPECT_EQ(mofLiteral(Variant::ofDouble(-7).get(), CIM_REAL64), L"-7.0");
    EXPECT_EQ(mofLiteral(Variant::ofDouble(std::numeric_limits<double>::infinity()).get(), CIM_REAL64), L"NULL");
    EXPECT_EQ(mofLiteral(Variant::ofArray(VT_R4, {Variant::ofFloat(std::numeric_limits<float>::quiet_NaN())}).get(),
                         CIM_REAL32 | CIM_FLAG_ARRAY),
              L"NULL");
}

}  // namespace
}  // namespace wmihost
