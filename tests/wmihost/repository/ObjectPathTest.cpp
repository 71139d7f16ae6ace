#include "wmihost/repository/ObjectPath.h"

#include <gtest/gtest.h>

#include "tests/wmihost/CaseFile.h"
#include "wmihost/PlatformPath.h"
#include "wmihost/TestObjects.h"
#include "wmihost/com/Com.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

std::string partsOf(const ObjectPath& path)
{
    std::wstring text = path.server.empty() ? L"" : L"server " + path.server + L", ";
    text += path.nameSpace.empty() ? L"" : L"namespace " + path.nameSpace + L", ";
    text += L"class " + path.className + (path.singleton ? L", singleton" : L"");
    for (const PathKey& key : path.keys) {
        text += L", " + key.name + L"=" + (key.quoted ? L"<" + key.value + L">" : key.value);
    }
    text += path.isInstance() ? L"; " : L", no instance; ";
    return toUtf8(text + path.prefix + (path.prefix.empty() ? L"" : L" ") + path.relative);
}

TEST(ObjectPath, Path_isReadOrRefused)
{
    expectOutcomes(ZERIX_PATHS, [](const std::string& text) -> std::string {
        try {
            return partsOf(ObjectPath::parse(toWide(text)));
        } catch (const PathError& error) {
            return error.what();
        }
    });
}

constexpr const char* MOF = R"(
class Keys { [key] string Text; [key] uint32 Number; [key] boolean Flag; [key] uint64 Large; string Other; };
[singleton] class Single { string Text; };
)";

TEST(ObjectPath, Keys_areRenderedInOrderOfNames)
{
    const ClassRepository repository = compiled(MOF);
    InstanceData data(classIn(repository, L"Keys"));
    EXPECT_EQ(relativePath(*data.definition, data.values), std::nullopt);
    data.values = {Variant::ofText(L"t"), Variant::ofLong(-1), Variant::ofBool(true), Variant::ofText(L"5"), Variant()};
    EXPECT_EQ(relativePath(*data.definition, data.values), L"Keys.Flag=TRUE,Large=5,Number=4294967295,Text=\"t\"");
    const InstanceData single(classIn(repository, L"Single"));
    EXPECT_EQ(relativePath(*single.definition, single.values), L"Single=@");
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
