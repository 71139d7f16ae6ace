#include "wmihost/repository/ObjectPath.h"

#include <gtest/gtest.h>

#include "wmihost/PlatformPath.h"
#include "wmihost/TestObjects.h"
#include "wmihost/com/Com.h"

namespace wmihost {
namespace {

TEST(ObjectPath, Path_isReadInEachForm)
{
    const ObjectPath relative = ObjectPath::parse(L"Class.Key=\"v\"");
    EXPECT_EQ(relative.className, L"Class");
    ASSERT_EQ(relative.keys.size(), 1U);
    EXPECT_EQ(relative.keys[0].name, L"Key");
    EXPECT_EQ(relative.keys[0].value, L"v");
    EXPECT_TRUE(relative.keys[0].quoted);

    const ObjectPath withNamespace = ObjectPath::parse(L"root\\test:Class.k1=1,k2=\"v\"");
    EXPECT_EQ(withNamespace.nameSpace, L"root\\test");
    ASSERT_EQ(withNamespace.keys.size(), 2U);
    EXPECT_EQ(withNamespace.keys[0].value, L"1");
    EXPECT_FALSE(withNamespace.keys[0].quoted);

    const ObjectPath full = ObjectPath::parse(L"\\\\.\\root\\test:Class.k=\"a:b,c.d=e\"");
    EXPECT_EQ(full.server, L".");
    EXPECT_EQ(full.nameSpace, L"root\\test");
    EXPECT_EQ(full.keys[0].value, L"a:b,c.d=e");

    EXPECT_FALSE(ObjectPath::parse(L"Class").isInstance());
    EXPECT_TRUE(ObjectPath::parse(L"Class=@").singleton);
    EXPECT_EQ(ObjectPath::parse(L"Class=\"short\"").keys[0].name, L"");
    EXPECT_EQ(ObjectPath::parse(L"C.k=\"a\\\"b\\\\c\\d\"").keys[0].value, L"a\"b\\c\\d");
    EXPECT_EQ(ObjectPath::parse(L"C.k=\"\"").keys[0].value, L"");
}

struct BadPath
{
    const wchar_t* text;
    const char* message;
};

class BadPaths : public testing::TestWithParam<BadPath>
{
};

TEST_P(BadPaths, Path_isRefusedWithItsMessage)
{
    try {
        ObjectPath::parse(GetParam().text);
        FAIL() << "the path was accepted";
    } catch (const PathError& error) {
        EXPECT_STREQ(error.what(), GetParam().message);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadPaths,
    testing::Values(
        BadPath{L"", "'' is not an object path: expected the name of a class at character 1"},
        BadPath{L"1Class", "'1Class' is not an object path: expected the name of a class at character 1"},
        BadPath{L"Class.", "'Class.' is not an object path: expected the name of a key at character 7"},
        BadPath{L"Class.k", "'Class.k' is not an object path: expected = at character 8"},
        BadPath{L"Class.k=", "'Class.k=' is not an object path: expected the value of a key at character 9"},
        BadPath{L"Class.k=\"x",
                "'Class.k=\"x' is not an object path: expected \" at the end of the value at character 11"},
        BadPath{L"Class.k=\"x\"y", "'Class.k=\"x\"y' is not an object path: expected the end at character 12"},
        BadPath{L"\\\\srv:Class",
                "'\\\\srv:Class' is not an object path: expected a namespace behind the machine at character 6"},
        BadPath{L"//", "'//' is not an object path: expected the name of a machine at character 3"},
        BadPath{L"//srv/root", "'//srv/root' is not an object path: expected : behind the namespace at character 11"},
        BadPath{L"Gr\u00F6\u00DFe.k='x",
                "'Größe.k='x' is not an object path: expected ' at the end of the value at character 11"},
        BadPath{L"Class.k=1,2", "'Class.k=1,2' is not an object path: expected the name of a key at character 11"}));

TEST(ObjectPath, Path_withoutAnyQuotes_isRefusedWithAdvice)
{
    try {
        ObjectPath::parse(L"Class.k=one,two");
        FAIL() << "the path was accepted";
    } catch (const PathError& error) {
        EXPECT_EQ(error.what(),
                  "'Class.k=one,two' is not an object path: expected = at character 16; " + quotesAdvice());
    }
}

TEST(ObjectPath, Path_isWrittenWithBackslashesAndDoubleQuotes)
{
    const ObjectPath path = ObjectPath::parse(L"//./root/a:Gr\u00F6\u00DFe.k='say \"x\" \\\\',l=7,m=\"a\\\"b\"");
    EXPECT_EQ(path.prefix, L"\\\\.\\root\\a:");
    EXPECT_EQ(path.relative, L"Gr\u00F6\u00DFe.k=\"say \\\"x\\\" \\\\\",l=7,m=\"a\\\"b\"");
    EXPECT_EQ(path.keys[0].value, L"say \"x\" \\");
    EXPECT_EQ(ObjectPath::parse(L"/root/a:C='x'").nameSpace, L"root\\a");
    EXPECT_EQ(ObjectPath::parse(L"C='x'").relative, L"C=\"x\"");
}

constexpr const char* MOF = R"(
class Keys { [key] string Text; [key] uint32 Number; [key] boolean Flag; [key] uint64 Large; string Other; };
class Alone { [key] string Name; };
[singleton] class Single { string Text; };
)";

TEST(ObjectPath, Keys_areRenderedInOrderOfNames)
{
    const ClassRepository repository = compiled(MOF);
    InstanceData data(classIn(repository, L"Keys"));
    EXPECT_EQ(relativePath(*data.definition, data.values), std::nullopt);
    data.values = {Variant::ofText(L"t"), Variant::ofLong(-1), Variant::ofBool(true), Variant::ofText(L"5"), Variant()};
    EXPECT_EQ(relativePath(*data.definition, data.values), L"Keys.Flag=TRUE,Large=5,Number=4294967295,Text=\"t\"");
}

TEST(ObjectPath, Singleton_isRendered)
{
    const ClassRepository repository = compiled(MOF);
    const InstanceData data(classIn(repository, L"Single"));
    EXPECT_EQ(relativePath(*data.definition, data.values), L"Single=@");
}

TEST(ObjectPath, FullPath_namesServerAndNamespace)
{
    EXPECT_EQ(fullPath(L"root\\test", L"A.k=1"), L"\\\\" + serverName() + L"\\root\\test:A.k=1");
}

// No values with a comma between the quotes, because Wine 8's parser takes it for the end of the key.
TEST(ObjectPath, RenderedPath_isParsedByThePlatform)
{
    const ComApartment apartment;
    const ClassRepository repository =
        compiled("class Port { [key] string SystemName; [key] string DeviceID; [key] string Creation; };");
    for (const std::wstring value : {L"plain", L"with:colon", L"b=c.d", L"{00000004-0000-0000-0000-4E6574446576}"}) {
        InstanceData data(classIn(repository, L"Port"));
        data.values = {Variant::ofText(L"HOST"), Variant::ofText(value), Variant::ofText(L"Port")};
        const std::wstring relative = *relativePath(*data.definition, data.values);
        const PlatformPath path = parsedByPlatform(fullPath(L"root\\test", relative));
        EXPECT_EQ(path.server, serverName());
        EXPECT_EQ(path.nameSpace, L"root\\test");
        EXPECT_EQ(path.className, L"Port");
        EXPECT_EQ(path.relative, relative);
        EXPECT_EQ(path.keyCount, 3U);
    }
}

}  // namespace
}  // namespace wmihost
