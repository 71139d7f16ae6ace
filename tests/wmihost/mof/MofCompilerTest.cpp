#include "wmihost/mof/MofCompiler.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/wmihost/CaseFile.h"
#include "wmihost/TestObjects.h"
#include "wmihost/mof/MofText.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

TEST(MofCompiler, MalformedMof_isRefusedWithItsMessage)
{
    expectOutcomes(ZERIX_MOF_MALFORMED, [](const std::string& text) -> std::string {
        ClassRepository repository;
        try {
            compileMofText(text, "bad.mof", repository);
        } catch (const MofError& error) {
            return error.what();
        }
        return "accepted";
    });
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

TEST(MofCompiler, Escapes_andComments_areRead)
{
    const ClassRepository repository = compiled(
        "// line\n/* block\n * more */\nclass A { /* in */ string t = \"\\\"\\\\\\t\\n\\x41\\x20AC!\"; // end\n};");
    EXPECT_EQ(viewOf(classIn(repository, L"A")->findProperty(L"t")->defaultValue.get().bstrVal), L"\"\\\t\nA\x20AC!");
}

TEST(MofCompiler, Qualifiers_haveFlavors)
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

TEST(MofCompiler, DerivedClass_inheritsWhatPropagates)
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

TEST(MofCompiler, Alias_mayStandAboveItsInstance)
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

TEST(MofCompiler, InstanceOfNamespace_makesANamespace)
{
    const ClassRepository repository = compiled("instance of __Namespace { Name = \"inner\"; };");
    ASSERT_NE(repository.findNamespace(L"root\\test\\inner"), nullptr);
    EXPECT_NE(repository.findNamespace(L"root\\test\\inner")->findClass(L"__Win32Provider"), nullptr);
}

TEST(MofCompiler, UnusedPragma_isSkipped)
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

TEST_F(MofFiles, Include_isRelativeToItsFile)
{
    write("a.mof", "#pragma namespace(\"root\\\\test\")\n#pragma include(\"sub/b.mof\")\nclass A : B { };");
    write("sub/b.mof", "#include \"c.mof\"\nclass B : C { };");
    write("sub/c.mof", "class C { };");
    ClassRepository repository;
    compileMofFile(folder / "a.mof", repository);
    EXPECT_TRUE(classIn(repository, L"A")->inheritsFrom(L"C"));
}

TEST_F(MofFiles, Mistake_inAnIncludedFile_namesIt)
{
    write("a.mof", "#pragma include(\"sub/b.mof\")");
    write("sub/b.mof", "\nclass ;");
    EXPECT_EQ(complaint("a.mof"), toUtf8((folder / "sub/b.mof").wstring()) + ":2:7: expected the name of a class");
}

TEST_F(MofFiles, File_thatIncludesItself_isRefused)
{
    write("a.mof", "#pragma include(\"a.mof\")");
    const std::string file = toUtf8((folder / "a.mof").wstring());
    EXPECT_EQ(complaint("a.mof"), file + ":1:17: the file '" + file + "' includes itself");
}

TEST_F(MofFiles, File_includedByAnotherName_isRefused)
{
    write("a.mof", "#pragma include(\"sub/../A.MOF\")");
    const std::string file = toUtf8((folder / "a.mof").wstring());
    EXPECT_EQ(complaint("a.mof"),
              file + ":1:17: the file '" + toUtf8((folder / "sub/../A.MOF").wstring()) + "' includes itself");
}

TEST_F(MofFiles, Files_thatIncludeEachOther_areRefused)
{
    write("a.mof", "#pragma include(\"sub/b.mof\")");
    write("sub/b.mof", "class B { };\n#pragma include(\"../a.mof\")");
    EXPECT_EQ(complaint("a.mof"), toUtf8((folder / "sub/b.mof").wstring()) + ":2:17: the file '" +
                                      toUtf8(((folder / "sub/b.mof").parent_path() / "../a.mof").wstring()) +
                                      "' includes itself");
}

TEST_F(MofFiles, File_mayBeIncludedTwice)
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

TEST_F(MofFiles, MissingFile_isRefused)
{
    EXPECT_EQ(complaint("none.mof"), toUtf8((folder / "none.mof").wstring()) + ": the file cannot be opened");
}

TEST_F(MofFiles, ByteOrderMark_isUnderstood)
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
