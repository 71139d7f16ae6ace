#include "wmihost/mof/MofCompiler.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/wmihost/TextRow.h"
#include "wmihost/TestObjects.h"
#include "wmihost/mof/MofText.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

class MalformedMof : public testing::TestWithParam<TextRow>
{
};

TEST_P(MalformedMof, IsRefusedWithItsMessage)
{
    ClassRepository repository;
    try {
        compileMofText(GetParam().given, "bad.mof", repository);
        FAIL() << "the text was accepted";
    } catch (const MofError& error) {
        EXPECT_STREQ(error.what(), GetParam().expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, MalformedMof,
    testing::Values(
        TextRow{"NothingKnown", "class A { };\nclas B { };",
                "bad.mof:2:1: expected a class, an instance, a qualifier or a directive"},
        TextRow{"NoSemicolonBehindAProperty", "class A\n{\n    string Name\n};", "bad.mof:4:1: expected ;"},
        TextRow{"NoSemicolonBehindAClass", "class A\n{\n}\nclass B { };", "bad.mof:4:1: expected ; after }"},
        TextRow{"NoNameOfAProperty", "class A { string ; };",
                "bad.mof:1:18: expected the name of a property or method"},
        TextRow{"NoBody", "class A : B string", "bad.mof:1:13: expected {"},
        TextRow{"OpenText", "class A { string Name = \"abc\n\"; };",
                "bad.mof:1:29: expected \" to end the text on the line where it begins"},
        TextRow{"UnknownEscape", "class A { string Name = \"a\\q\"; };",
                "bad.mof:1:28: expected one of b t n f r \" ' \\ or x and a hexadecimal number after the backslash"},
        TextRow{"OpenComment", "class A { };\n/* and so on", "bad.mof:2:13: expected */ to end the comment"},
        TextRow{"OpenQualifiers", "[key class A { };", "bad.mof:1:6: expected ]"},
        TextRow{"NothingBehindQualifiers", "[key] struct A { };",
                "bad.mof:1:7: expected 'class' or 'instance' after the qualifiers"},
        TextRow{"NoValue", "class A { uint8 N = ; };", "bad.mof:1:21: expected a value"},
        TextRow{"OpenList", "class A { uint8 N[] = {1, 2; };", "bad.mof:1:28: expected , or } in the list of values"},
        TextRow{"NoFlavor", "[key:] class A { };", "bad.mof:1:6: expected a flavor after :"},
        TextRow{"NoParameterName", "class A { uint32 M([in] string); };",
                "bad.mof:1:31: expected the name of a parameter"},
        TextRow{"InstanceWithoutOf", "instance A { };", "bad.mof:1:10: expected 'of' after 'instance'"},
        TextRow{"AliasWithoutDollar", "class A { [key] string K; };\ninstance of A as X { K = \"\"; };",
                "bad.mof:2:18: expected an alias that begins with $"},
        TextRow{"AssignmentWithoutEquals", "class A { string K; };\ninstance of A { K \"\"; };",
                "bad.mof:2:19: expected = after the name of the property"},
        TextRow{"QualifierWithoutAType", "Qualifier Key;", "bad.mof:1:14: expected : and the type of the qualifier"},
        TextRow{"QualifierWithoutAName", "Qualifier : string;", "bad.mof:1:11: expected the name of a qualifier"},
        TextRow{"QualifierWithAnUnknownPart", "Qualifier Key : boolean, Size(3);",
                "bad.mof:1:26: expected 'Scope' or 'Flavor' after ,"},
        TextRow{"QualifierWithAnEmptyScope", "Qualifier Key : boolean, Scope();",
                "bad.mof:1:32: expected where the qualifier may stand"},
        TextRow{"QualifierWithAnOpenScope", "Qualifier Key : boolean, Scope(class;",
                "bad.mof:1:37: expected , or ) after the scope"},
        TextRow{"QualifierWithoutSemicolon", "Qualifier Key : boolean = true\nclass A { };",
                "bad.mof:2:1: expected , or ; after the declaration of the qualifier"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Meaning, MalformedMof,
    testing::Values(
        TextRow{"UnknownSuperclass", "class A : B { };",
                "bad.mof:1:11: the superclass 'B' is not declared in root\\default"},
        TextRow{"PropertyTwice", "class A { string N; string n; };",
                "bad.mof:1:28: the property 'n' is declared twice"},
        TextRow{"PropertyOfAnotherType", "class A { string N; };\nclass B : A { uint8 N; };",
                "bad.mof:2:21: the property 'N' of the superclass has another type"},
        TextRow{"QualifierTwice", "[A, a] class C { };", "bad.mof:1:5: the qualifier 'a' stands here twice"},
        TextRow{"FixedQualifierOverridden",
                "class A { [Unit(\"m\"): DisableOverride ToSubclass] uint8 N; };\n"
                "class B : A { [Unit(\"s\")] uint8 N; };",
                "bad.mof:2:16: the qualifier 'Unit' of the superclass cannot be overridden"},
        TextRow{"UnknownFlavor", "[A: Bitter] class C { };", "bad.mof:1:5: the flavor 'Bitter' is unknown"},
        TextRow{"ValueOutOfRange", "class A { uint8 N = 256; };",
                "bad.mof:1:21: '256' is no uint8: a whole number from 0 to 255"},
        TextRow{"BinaryNumberThatNoTypeHolds",
                "class A { uint8 N = 1"
                "0000000000000000000000000000000000000000000000000000000000000001b; };",
                "bad.mof:1:21: '10000000000000000000000000000000000000000000000000000000000000001b' is no uint8: a "
                "whole number from 0 to 255"},
        TextRow{"HexadecimalNumberThatNoTypeHolds", "class A { uint64 N = 0x10000000000000000; };",
                "bad.mof:1:22: '0x10000000000000000' is no uint64: a whole number from 0 to 18446744073709551615"},
        TextRow{"ValueTwice", "class A { [key] string K; };\ninstance of A { K = \"1\"; k = \"2\"; };",
                "bad.mof:2:26: the property 'k' gets a value a second time"},
        TextRow{"MethodTwice", "class A { uint32 M(); uint32 m(); };",
                "bad.mof:1:30: the method 'm' is declared twice"},
        TextRow{"ParameterTwice", "class A { uint32 M([in] uint8 P, [in] uint8 p); };",
                "bad.mof:1:34: the parameter 'p' is declared twice"},
        TextRow{"EmbeddedObjectOfAType", "class A { uint8:B N; };",
                "bad.mof:1:11: only 'object' may be followed by : and a class"},
        TextRow{"NamespaceWithoutAName", "#pragma namespace(root)",
                "bad.mof:1:1: expected a namespace between quotes after #pragma namespace"},
        TextRow{"IncludeWithoutAFile", "#pragma include(other)",
                "bad.mof:1:1: expected the name of a file between quotes after #pragma include"},
        TextRow{"TextForANumber", "class A { uint16 N = \"1\"; };", "bad.mof:1:22: expected a value of type uint16"},
        TextRow{"NumberForAText", "class A { string N = 1; };", "bad.mof:1:22: expected a value of type string"},
        TextRow{"ListForAScalar", "class A { uint8 N = {1}; };", "bad.mof:1:21: expected a single value, not a list"},
        TextRow{"ScalarForAnArray", "class A { uint8 N[] = 1; };",
                "bad.mof:1:23: expected a list of values between { and }"},
        TextRow{"BadDatetime", "class A { datetime N = \"now\"; };",
                "bad.mof:1:24: 'now' is no datetime: yyyymmddhhmmss.ffffff+uuu or, for an interval, "
                "ddddddddhhmmss.ffffff:000"},
        TextRow{"ReferenceToAType", "class A { uint8 ref N; };",
                "bad.mof:1:11: a reference is to a class, not to the type 'uint8'"},
        TextRow{"UnknownClassOfAnInstance", "instance of A { };",
                "bad.mof:1:13: the class 'A' is not declared in root\\default"},
        TextRow{"UnknownPropertyOfAnInstance", "class A { [key] string K; };\ninstance of A { L = \"\"; };",
                "bad.mof:2:17: the class 'A' has no property 'L'"},
        TextRow{"InstanceWithoutKeys", "class A { [key] string K; };\ninstance of A { };",
                "bad.mof:2:13: an instance of 'A' needs a value for each of its keys"},
        TextRow{"UnknownAlias", "class A { [key] string K; };\ninstance of A { K = $Nobody; };",
                "bad.mof:2:21: no instance has the alias $Nobody"},
        TextRow{"AliasesThatWaitForEachOther",
                "class A { [key] A ref K; };\ninstance of A as $One { K = $Two; };\n"
                "instance of A as $Two { K = $One; };",
                "bad.mof:2:29: no instance has the alias $Two"},
        TextRow{"AliasInAClassAboveItsInstance",
                "class A { [key] string K; };\nclass B { A ref R = $One; };\ninstance of A as $One { K = \"\"; };",
                "bad.mof:2:21: the alias $One is not defined above"},
        TextRow{"AliasTwice",
                "class A { [key] string K; };\ninstance of A as $One { K = \"1\"; };\n"
                "instance of A as $one { K = \"2\"; };",
                "bad.mof:3:18: the alias $one is defined twice"},
        TextRow{"QualifierDeclaredTwice", "Qualifier Key : boolean;\nQualifier key : boolean;",
                "bad.mof:2:11: the qualifier 'key' is declared twice"},
        TextRow{"QualifierOfAnUnknownType", "Qualifier Key : bool;",
                "bad.mof:1:17: a qualifier is of a simple type, not of 'bool'"},
        TextRow{"QualifierWithAnUnknownScope", "Qualifier Key : boolean, Scope(class, planet);",
                "bad.mof:1:39: the scope 'planet' is unknown"},
        TextRow{"QualifierWithAnUnknownFlavor", "Qualifier Key : boolean, Flavor(Bitter);",
                "bad.mof:1:33: the flavor 'Bitter' is unknown"},
        TextRow{"ValueThatIsNotOfTheDeclaredType", "Qualifier Size : uint16;\n[Size(\"large\")] class A { };",
                "bad.mof:2:7: expected a value of type uint16"},
        TextRow{"MissingInclude", "#pragma include(\"nowhere.mof\")",
                "bad.mof:1:17: the included file 'nowhere.mof' does not exist"}),
    rowName);

TEST(MofCompiler, KnowsEveryTypeAndItsArray)
{
    const ClassRepository repository = compiled(R"(
        class Types
        {
            sint8 a = -128; uint8 b = 0xFF; sint16 c = -077; uint16 d = 101b; sint32 e = 5; uint32 f = 4294967295;
            sint64 g = -9223372036854775808; uint64 h = 18446744073709551615; real32 i = 1.5; real64 j = -2.5e3;
            boolean k = TRUE; string l = "x" "y"; datetime m = "00000001010101.000000:000"; char16 n = 'A';
            object o; Types ref p; object ref q; object:Types r; Types s;
            sint8 aa[] = {1, -1}; uint8 bb[3]; string ll[] = {"x", "y"}; boolean kk[] = {true, FALSE};
            string none = NULL;
        };)");
    const ClassPointer types = classIn(repository, L"Types");
    const auto check = [&types](const wchar_t* name, CIMTYPE type, const wchar_t* literal) {
        const Property* property = types->findProperty(name);
        ASSERT_NE(property, nullptr);
        EXPECT_EQ(property->type, type) << toUtf8(name);
        EXPECT_EQ(mofLiteral(property->defaultValue.get(), property->type), literal) << toUtf8(name);
    };
    check(L"a", CIM_SINT8, L"-128");
    check(L"b", CIM_UINT8, L"255");
    check(L"c", CIM_SINT16, L"-63");
    check(L"d", CIM_UINT16, L"5");
    check(L"e", CIM_SINT32, L"5");
    check(L"f", CIM_UINT32, L"4294967295");
    check(L"g", CIM_SINT64, L"-9223372036854775808");
    check(L"h", CIM_UINT64, L"18446744073709551615");
    check(L"i", CIM_REAL32, L"1.5");
    check(L"j", CIM_REAL64, L"-2500.0");
    check(L"k", CIM_BOOLEAN, L"TRUE");
    check(L"l", CIM_STRING, L"\"xy\"");
    check(L"m", CIM_DATETIME, L"\"00000001010101.000000:000\"");
    check(L"n", CIM_CHAR16, L"65");
    check(L"o", CIM_OBJECT, L"NULL");
    check(L"p", CIM_REFERENCE, L"NULL");
    check(L"q", CIM_REFERENCE, L"NULL");
    check(L"r", CIM_OBJECT, L"NULL");
    check(L"s", CIM_OBJECT, L"NULL");
    check(L"aa", CIM_SINT8 | CIM_FLAG_ARRAY, L"{1, -1}");
    check(L"bb", CIM_UINT8 | CIM_FLAG_ARRAY, L"NULL");
    check(L"ll", CIM_STRING | CIM_FLAG_ARRAY, L"{\"x\", \"y\"}");
    check(L"kk", CIM_BOOLEAN | CIM_FLAG_ARRAY, L"{TRUE, FALSE}");
    check(L"none", CIM_STRING, L"NULL");
    EXPECT_EQ(types->findProperty(L"p")->className, L"Types");
    EXPECT_EQ(types->findProperty(L"q")->className, L"");
    EXPECT_EQ(types->findProperty(L"r")->className, L"Types");
    EXPECT_EQ(qualifierText(types->findProperty(L"p")->qualifiers, L"CIMTYPE"), L"ref:Types");
}

// A MOF by another author: every type and its array, with qualifiers of every kind and flavor.
TEST(MofCompiler, Qualifiers_ofEachType_areRead)
{
    const ClassRepository repository = compiled(R"(
        [Version("1.2"): ToSubclass, Weight(2.5e0), Bits(101b), Letter('x'), Names{"a", "b"}: Amended DisableOverride,
         Numbers{1, -2}: NotToInstance NotToSubclass, Ratios{0.5, 2.5}, Flags{TRUE, false}, Large(4294967296)]
        class Other
        {
            [key, MaxLen(8): ToInstance EnableOverride] string Name;
            [Range{1, 5}] uint8 Bytes[]; [Unit("s")] sint8 Signs[4]; uint16 Words[]; sint16 Shorts[]; uint32 Longs[];
            sint32 Integers[]; uint64 Counters[]; sint64 Offsets[]; real32 Floats[] = {1.5}; real64 Doubles[];
            boolean Flags[]; datetime Times[]; char16 Letters[] = {'a', 'b'}; object Things[]; Other ref Links[];
        };)");
    const ClassPointer other = classIn(repository, L"Other");
    const auto check = [](const Qualifiers& qualifiers, const wchar_t* name, CIMTYPE type, const wchar_t* literal) {
        const Qualifier* found = findQualifier(qualifiers, name);
        ASSERT_NE(found, nullptr) << toUtf8(name);
        EXPECT_EQ(found->type, type) << toUtf8(name);
        EXPECT_EQ(mofLiteral(found->value.get(), found->type), literal) << toUtf8(name);
    };
    check(other->qualifiers, L"Version", CIM_STRING, L"\"1.2\"");
    check(other->qualifiers, L"Weight", CIM_REAL64, L"2.5");
    check(other->qualifiers, L"Bits", CIM_SINT32, L"5");
    check(other->qualifiers, L"Letter", CIM_CHAR16, L"120");
    check(other->qualifiers, L"Names", CIM_STRING | CIM_FLAG_ARRAY, L"{\"a\", \"b\"}");
    check(other->qualifiers, L"Numbers", CIM_SINT32 | CIM_FLAG_ARRAY, L"{1, -2}");
    check(other->qualifiers, L"Ratios", CIM_REAL64 | CIM_FLAG_ARRAY, L"{0.5, 2.5}");
    check(other->qualifiers, L"Flags", CIM_BOOLEAN | CIM_FLAG_ARRAY, L"{TRUE, FALSE}");
    check(other->qualifiers, L"Large", CIM_SINT64, L"4294967296");
    check(other->findProperty(L"Bytes")->qualifiers, L"Range", CIM_SINT32 | CIM_FLAG_ARRAY, L"{1, 5}");
    EXPECT_EQ(findQualifier(other->qualifiers, L"Names")->flavor, WBEM_FLAVOR_AMENDED | WBEM_FLAVOR_NOT_OVERRIDABLE);
    EXPECT_EQ(findQualifier(other->qualifiers, L"Numbers")->flavor, 0);
    const std::vector<CIMTYPE> elements{CIM_UINT8,   CIM_SINT8,    CIM_UINT16, CIM_SINT16, CIM_UINT32,
                                        CIM_SINT32,  CIM_UINT64,   CIM_SINT64, CIM_REAL32, CIM_REAL64,
                                        CIM_BOOLEAN, CIM_DATETIME, CIM_CHAR16, CIM_OBJECT, CIM_REFERENCE};
    ASSERT_EQ(other->properties.size(), elements.size() + 1);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        EXPECT_EQ(other->properties[i + 1].type, elements[i] | CIM_FLAG_ARRAY) << toUtf8(other->properties[i + 1].name);
    }
}

TEST(MofCompiler, ReadsTheEscapesOfATextAndComments)
{
    const ClassRepository repository = compiled(
        "// line\n/* block\n * more */\nclass A { /* in */ string t = \"\\\"\\\\\\t\\n\\x41\\x20AC!\"; // end\n};");
    EXPECT_EQ(viewOf(classIn(repository, L"A")->findProperty(L"t")->defaultValue.get().bstrVal), L"\"\\\t\nA\x20AC!");
}

TEST(MofCompiler, ReadsQualifiersWithFlavors)
{
    const ClassRepository repository = compiled(
        "[A, B(7), C(\"t\"): ToInstance ToSubclass DisableOverride, D{1, 2}: Amended, E(FALSE), F(2.5)] class X { };");
    const Qualifiers& qualifiers = classIn(repository, L"x")->qualifiers;
    ASSERT_EQ(qualifiers.size(), 6U);
    EXPECT_TRUE(hasQualifier(qualifiers, L"a"));
    EXPECT_EQ(findQualifier(qualifiers, L"B")->type, CIM_SINT32);
    EXPECT_EQ(findQualifier(qualifiers, L"C")->flavor, WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE |
                                                           WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS |
                                                           WBEM_FLAVOR_NOT_OVERRIDABLE);
    EXPECT_EQ(findQualifier(qualifiers, L"D")->type, CIM_SINT32 | CIM_FLAG_ARRAY);
    EXPECT_EQ(findQualifier(qualifiers, L"D")->flavor, WBEM_FLAVOR_AMENDED);
    EXPECT_FALSE(hasQualifier(qualifiers, L"E"));
    EXPECT_EQ(findQualifier(qualifiers, L"F")->type, CIM_REAL64);
}

TEST(MofCompiler, ADerivedClassInheritsMembersAndWhatPropagates)
{
    const ClassRepository repository = compiled(R"(
        [A: ToSubclass, B] class Base { [key] string K; [read: ToSubclass, Description("d")] uint8 N = 1; void M(); };
        class Middle : Base { uint8 N = 2; };
        class Last : middle { };)");
    const ClassPointer last = classIn(repository, L"Last");
    EXPECT_EQ(last->ancestors, (std::vector<std::wstring>{L"Middle", L"Base"}));
    EXPECT_TRUE(hasQualifier(last->qualifiers, L"A"));
    EXPECT_FALSE(hasQualifier(last->qualifiers, L"B"));
    EXPECT_TRUE(last->findProperty(L"K")->isKey());
    const Property* n = last->findProperty(L"N");
    EXPECT_EQ(n->defaultValue.get().bVal, 2);
    EXPECT_EQ(n->origin, L"Base");
    EXPECT_TRUE(hasQualifier(n->qualifiers, L"read"));
    EXPECT_EQ(findQualifier(n->qualifiers, L"Description"), nullptr);
    ASSERT_NE(last->findMethod(L"m"), nullptr);
    EXPECT_FALSE(last->findMethod(L"M")->local);
}

TEST(MofCompiler, Instances_areKept_andAliasesResolved)
{
    const ClassRepository repository = compiled(R"(
        class Target { [key] string Name; [key] uint16 Number; };
        class Link { [key] Target ref To; };
        instance of Target as $T { Name = "a\"b"; Number = 7; };
        instance of Link { To = $T; };
        #pragma namespace("\\\\.\\root\\other")
        class Target { [key] string Name; };)");
    const Namespace& test = *repository.findNamespace(L"ROOT/Test");
    ASSERT_EQ(test.instancesOf(L"target").size(), 1U);
    const auto links = test.instancesOf(L"Link");
    ASSERT_EQ(links.size(), 1U);
    EXPECT_EQ(viewOf(links.front()->values[0].get().bstrVal), L"\\\\.\\root\\test:Target.Name=\"a\\\"b\",Number=7");
    EXPECT_TRUE(repository.findNamespace(L"root\\other")->instancesOf(L"Target").empty());
}

TEST(MofCompiler, AnAliasMayStandAboveItsInstance)
{
    const ClassRepository repository = compiled(R"(
        class Node { [key] string Name; };
        class Link { [key] Node ref From; [key] Node ref To; };
        class Remark { [key] Link ref About; };
        instance of Remark { About = $L; };
        instance of Link as $L { From = $A; To = $B; };
        instance of Node as $A { Name = "a"; };
        instance of Node as $B { Name = "b"; };)");
    const Namespace& test = *repository.findNamespace(L"root\\test");
    ASSERT_EQ(test.instancesOf(L"Remark").size(), 1U);
    const std::wstring link =
        L"\\\\.\\root\\test:Link.From=\"\\\\\\\\.\\\\root\\\\test:Node.Name=\\\"a\\\"\","
        L"To=\"\\\\\\\\.\\\\root\\\\test:Node.Name=\\\"b\\\"\"";
    EXPECT_EQ(viewOf(test.instancesOf(L"Remark").front()->values[0].get().bstrVal), link);
}

TEST(MofCompiler, DeclaredQualifier_hasTypeFlavorAndDefault)
{
    const ClassRepository repository = compiled(R"(
        Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);
        Qualifier Size : uint16 = 7, Scope(any);
        Qualifier Names : string[], Scope(class), Flavor(Restricted, Translatable);
        Qualifier Note : string = NULL, Scope(class), Flavor(EnableOverride, ToInstance);
        [Size, Names{}, Note("n"): Amended] class A { [Key] string K; };
        [Size(8)] class B : A { };)");
    const Qualifiers& own = classIn(repository, L"A")->qualifiers;
    EXPECT_EQ(findQualifier(own, L"Size")->type, CIM_UINT16);
    EXPECT_EQ(findQualifier(own, L"Size")->value.get().lVal, 7);
    EXPECT_EQ(findQualifier(own, L"Size")->flavor, WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS);
    EXPECT_EQ(findQualifier(own, L"Names")->type, CIM_STRING | CIM_FLAG_ARRAY);
    EXPECT_EQ(findQualifier(own, L"Names")->flavor, 0);
    EXPECT_EQ(findQualifier(own, L"Note")->flavor, WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS |
                                                       WBEM_FLAVOR_FLAG_PROPAGATE_TO_INSTANCE | WBEM_FLAVOR_AMENDED);
    EXPECT_TRUE(classIn(repository, L"A")->findProperty(L"K")->isKey());
    const Qualifiers& derived = classIn(repository, L"B")->qualifiers;
    EXPECT_EQ(findQualifier(derived, L"Size")->value.get().lVal, 8);
    EXPECT_EQ(findQualifier(derived, L"Names"), nullptr);
    EXPECT_NE(findQualifier(derived, L"Note"), nullptr);
}

TEST(MofCompiler, AnInstanceOfTheNamespaceClassMakesANamespace)
{
    const ClassRepository repository = compiled("instance of __Namespace { Name = \"inner\"; };");
    ASSERT_NE(repository.findNamespace(L"root\\test\\inner"), nullptr);
    EXPECT_NE(repository.findNamespace(L"root\\test\\inner")->findClass(L"__Win32Provider"), nullptr);
}

TEST(MofCompiler, SkipsPragmasItHasNoUseFor)
{
    const ClassRepository repository = compiled(
        "#pragma autorecover\n#pragma classflags(\"forceupdate\")\n#pragma deleteclass(\"A\", nofail)\nclass A { };");
    EXPECT_NE(classIn(repository, L"A"), nullptr);
}

// A folder of files for one test.
class MofFiles : public testing::Test
{
protected:
    MofFiles() { std::filesystem::create_directories(folder / "sub"); }
    ~MofFiles() override { std::filesystem::remove_all(folder); }

    void write(const std::string& name, std::string_view text) const
    {
        std::ofstream(folder / name, std::ios::binary) << text;
    }

    std::string complaint(const std::string& name) const
    {
        ClassRepository repository;
        try {
            compileMofFile(folder / name, repository);
        } catch (const MofError& error) {
            return error.what();
        }
        return "no complaint";
    }

    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("mof-" + std::to_string(GetCurrentProcessId()));
};

TEST_F(MofFiles, IncludesAreReadRelativeToTheFileThatNamesThem)
{
    write("a.mof", "#pragma namespace(\"root\\\\test\")\n#pragma include(\"sub/b.mof\")\nclass A : B { };");
    write("sub/b.mof", "#include \"c.mof\"\nclass B : C { };");
    write("sub/c.mof", "class C { };");
    ClassRepository repository;
    compileMofFile(folder / "a.mof", repository);
    EXPECT_TRUE(classIn(repository, L"A")->inheritsFrom(L"C"));
}

TEST_F(MofFiles, AMistakeInAnIncludedFileNamesThatFile)
{
    write("a.mof", "#pragma include(\"sub/b.mof\")");
    write("sub/b.mof", "\nclass ;");
    EXPECT_EQ(complaint("a.mof"), toUtf8((folder / "sub/b.mof").wstring()) + ":2:7: expected the name of a class");
}

TEST_F(MofFiles, AFileThatIncludesItselfIsRefused)
{
    write("a.mof", "#pragma include(\"a.mof\")");
    const std::string file = toUtf8((folder / "a.mof").wstring());
    EXPECT_EQ(complaint("a.mof"), file + ":1:17: the file '" + file + "' includes itself");
}

TEST_F(MofFiles, AFileThatIncludesItselfByAnotherNameIsRefused)
{
    write("a.mof", "#pragma include(\"sub/../A.MOF\")");
    const std::string file = toUtf8((folder / "a.mof").wstring());
    EXPECT_EQ(complaint("a.mof"),
              file + ":1:17: the file '" + toUtf8((folder / "sub/../A.MOF").wstring()) + "' includes itself");
}

TEST_F(MofFiles, TwoFilesThatIncludeEachOtherAreRefused)
{
    write("a.mof", "#pragma include(\"sub/b.mof\")");
    write("sub/b.mof", "class B { };\n#pragma include(\"../a.mof\")");
    EXPECT_EQ(complaint("a.mof"), toUtf8((folder / "sub/b.mof").wstring()) + ":2:17: the file '" +
                                      toUtf8(((folder / "sub/b.mof").parent_path() / "../a.mof").wstring()) +
                                      "' includes itself");
}

TEST_F(MofFiles, AFileMayBeIncludedTwiceOneAfterTheOther)
{
    write("a.mof",
          "#pragma namespace(\"root\\\\test\")\n#pragma include(\"b.mof\")\n"
          "#pragma namespace(\"root\\\\other\")\n#pragma include(\"b.mof\")");
    write("b.mof", "class B { };");
    ClassRepository repository;
    compileMofFile(folder / "a.mof", repository);
    EXPECT_NE(repository.findNamespace(L"root\\test")->findClass(L"B"), nullptr);
    EXPECT_NE(repository.findNamespace(L"root\\other")->findClass(L"B"), nullptr);
}

TEST_F(MofFiles, AMissingFileIsRefused)
{
    EXPECT_EQ(complaint("none.mof"), toUtf8((folder / "none.mof").wstring()) + ": the file cannot be opened");
}

TEST_F(MofFiles, ByteOrderMarksAreUnderstood)
{
    write("utf8.mof", "\xEF\xBB\xBF#pragma namespace(\"root\\\\test\")\nclass A { string t = \"\xC3\xBC\"; };");
    std::string wide = "\xFF\xFE";
    for (const char c : std::string_view("#pragma namespace(\"root\\\\test\")\nclass W { };")) {
        wide += c;
        wide += '\0';
    }
    write("utf16.mof", wide);
    ClassRepository repository;
    compileMofFile(folder / "utf8.mof", repository);
    compileMofFile(folder / "utf16.mof", repository);
    EXPECT_EQ(viewOf(classIn(repository, L"A")->findProperty(L"t")->defaultValue.get().bstrVal), L"\u00FC");
    EXPECT_NE(classIn(repository, L"W"), nullptr);
}

}  // namespace
}  // namespace wmihost
