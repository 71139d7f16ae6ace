#include "wmihost/mof/MofCompiler.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>

#include "tests/wmihost/CaseFile.h"
#include "wmihost/TestObjects.h"
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

TEST(MofCompiler, Qualifier_hasItsType)
{
    const ClassRepository repository = compiled(R"(
        Qualifier Size : uint16 = 7, Scope(any);
        Qualifier Kinds : string[], Scope(class);
        [A, Version("1.2"), Weight(2.5), Bits(101b), Letter('x'), Texts{"a", "b"}, Numbers{1, -2}, Ratios{0.5, 2.5},
         Flags{TRUE, false}, Large(4294967296), Size, Kinds{}]
        class X { };)");
    const Qualifiers& qualifiers = classIn(repository, L"X")->qualifiers;
    const std::pair<const wchar_t*, CIMTYPE> rows[] = {{L"A", CIM_BOOLEAN},
                                                       {L"Version", CIM_STRING},
                                                       {L"Weight", CIM_REAL64},
                                                       {L"Bits", CIM_SINT32},
                                                       {L"Letter", CIM_CHAR16},
                                                       {L"Texts", CIM_STRING | CIM_FLAG_ARRAY},
                                                       {L"Numbers", CIM_SINT32 | CIM_FLAG_ARRAY},
                                                       {L"Ratios", CIM_REAL64 | CIM_FLAG_ARRAY},
                                                       {L"Flags", CIM_BOOLEAN | CIM_FLAG_ARRAY},
                                                       {L"Large", CIM_SINT64},
                                                       {L"Size", CIM_UINT16},
                                                       {L"Kinds", CIM_STRING | CIM_FLAG_ARRAY}};
    for (const auto& [name, type] : rows) {
        const Qualifier* const found = findQualifier(qualifiers, name);
        ASSERT_NE(found, nullptr) << toUtf8(name);
        EXPECT_EQ(found->type, type) << toUtf8(name);
    }
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

TEST(MofCompiler, MissingFile_isRefused)
{
    ClassRepository repository;
    try {
        compileMofFile("none.mof", repository);
        FAIL() << "the file was compiled";
    } catch (const MofError& error) {
        EXPECT_STREQ(error.what(), "none.mof: the file cannot be opened");
    }
}

TEST(MofCompiler, ByteOrderMark_isUnderstood)
{
    const auto file =
        std::filesystem::temp_directory_path() / ("mof-" + std::to_string(GetCurrentProcessId()) + ".mof");
    ClassRepository repository;
    const auto compileBytes = [&](std::string_view bytes) {
        std::ofstream(file, std::ios::binary) << bytes;
        compileMofFile(file, repository);
        std::filesystem::remove(file);
    };
    compileBytes("\xEF\xBB\xBF#pragma namespace(\"root\\\\test\")\nclass A { string t = \"\xC3\xBC\"; };");
    std::string wide = "\xFF\xFE";
    for (const char c : std::string_view("#pragma namespace(\"root\\\\test\")\nclass W { };")) {
        wide += c;
        wide += '\0';
    }
    compileBytes(wide);
    EXPECT_EQ(viewOf(classIn(repository, L"A")->findProperty(L"t")->defaultValue.get().bstrVal), L"\u00FC");
    EXPECT_NE(classIn(repository, L"W"), nullptr);
}

}  // namespace
}  // namespace wmihost
