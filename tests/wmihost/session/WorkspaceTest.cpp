#include "wmihost/session/Workspace.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "wmihost/FakeProvider.h"
#include "wmihost/com/Guard.h"
#include "wmihost/com/RequestError.h"
#include "wmihost/repository/ObjectPath.h"

namespace wmihost {
namespace {

class WorkspaceTest : public testing::Test
{
protected:
    static std::filesystem::path write()
    {
        auto file =
            std::filesystem::temp_directory_path() / ("workspace-" + std::to_string(GetCurrentProcessId()) + ".mof");
        std::ofstream(file) << FAKE_MOF << "class Pair { [key] string A; [key] string B; };\n"
                            << "#pragma namespace(\"root\\\\other\")\nclass Pair { [key] string C; };\n";
        return file;
    }
    ~WorkspaceTest() override { std::filesystem::remove(file); }

    HRESULT statusOf(const std::function<void()>& call)
    {
        try {
            call();
        } catch (const RequestError& error) {
            return error.status();
        }
        return 0;
    }

    const ComApartment apartment;
    const std::filesystem::path file = write();
    FakeBehaviour behaviour;
    const FakeProviderScope scope{behaviour};
    Workspace workspace{file};
};

TEST_F(WorkspaceTest, Class_isFoundInAnyOrTheNamedNamespace)
{
    EXPECT_EQ(workspace.findClass(L"pair", L"").nameSpace, L"root\\test");
    EXPECT_EQ(workspace.findClass(L"Pair", L"root/other").nameSpace, L"root\\other");
    EXPECT_EQ(statusOf([&] { workspace.findClass(L"Nope", L""); }), code(WBEM_E_INVALID_CLASS));
    EXPECT_EQ(statusOf([&] { workspace.findClass(L"Fake_Thing", L"root\\other"); }), code(WBEM_E_INVALID_CLASS));
    EXPECT_EQ(statusOf([&] { workspace.findClass(L"Pair", L"root\\none"); }), code(WBEM_E_INVALID_NAMESPACE));
}

TEST_F(WorkspaceTest, Path_isPassedOnAsGiven)
{
    const auto* const text = L"\\\\.\\root\\test:fake_thing.NAME=\"x\"";
    const InstanceTarget found = workspace.findInstance(text, L"");
    EXPECT_EQ(found.path, text);
    EXPECT_EQ(found.target.definition->name, L"Fake_Thing");
    EXPECT_EQ(workspace.findInstance(L"root\\other:Pair.C=\"x\"", L"root\\test").target.nameSpace, L"root\\other");
}

TEST_F(WorkspaceTest, ShortPath_isWrittenOut)
{
    EXPECT_EQ(workspace.findInstance(L"Fake_Thing=\"a=b\"", L"").path, L"Fake_Thing.Name=\"a=b\"");
    EXPECT_EQ(statusOf([&] { workspace.findInstance(L"Pair=\"x\"", L"root\\test"); }),
              code(WBEM_E_INVALID_OBJECT_PATH));
}

TEST_F(WorkspaceTest, Path_thatLeadsElsewhere_isRefused)
{
    EXPECT_EQ(statusOf([&] { workspace.findInstance(L"\\\\far\\root\\test:Fake_Thing=\"x\"", L""); }),
              code(WBEM_E_TRANSPORT_FAILURE));
    EXPECT_EQ(statusOf([&] { workspace.findInstance(L"Fake_Thing", L""); }), code(WBEM_E_INVALID_OBJECT_PATH));
    EXPECT_THROW(workspace.findInstance(L"Fake_Thing.", L""), PathError);
}

std::string reasonOf(const std::function<void()>& call)
{
    try {
        call();
    } catch (const RequestError& error) {
        return error.what();
    }
    return "no refusal";
}

TEST_F(WorkspaceTest, MisspeltName_getsASuggestion)
{
    EXPECT_EQ(reasonOf([&] { workspace.findClass(L"Fake_Thnig", L""); }),
              "the MOF declares no class Fake_Thnig; did you mean Fake_Thing?");
    EXPECT_EQ(reasonOf([&] { workspace.findClass(L"Piar", L"root\\other"); }),
              "the namespace root\\other has no class Piar; did you mean Pair?");
    EXPECT_EQ(reasonOf([&] { workspace.findClass(L"Pair", L"root/tset"); }),
              "the MOF declares no namespace root/tset; did you mean root\\test?");
    EXPECT_EQ(reasonOf([&] { workspace.findInstance(L"Fake_Thing.Nmae=\"x\"", L""); }),
              "the class Fake_Thing has no key Nmae; did you mean Name?");
    // The property is not a key.
    EXPECT_EQ(reasonOf([&] { workspace.findInstance(L"Fake_Thing.Name=\"x\",Count=3", L""); }),
              "the class Fake_Thing has no key Count");
}

TEST_F(WorkspaceTest, Path_inFormsThatSurviveAShell_isWrittenOut)
{
    EXPECT_EQ(workspace.findInstance(L"//./root/test:Fake_Thing.Name='x'", L"").path,
              L"\\\\.\\root\\test:Fake_Thing.Name=\"x\"");
    EXPECT_EQ(workspace.findInstance(L"root/test:Fake_Thing='a\"b'", L"").path,
              L"root\\test:Fake_Thing.Name=\"a\\\"b\"");
}

TEST_F(WorkspaceTest, Path_withoutItsQuotes_isRefused)
{
    const std::string advice = std::string("; ") + quotesAdvice();
    EXPECT_EQ(reasonOf([&] { workspace.findInstance(L"Fake_Thing.Name=one", L""); }),
              "the key Name is a text, and its value stands without quotes" + advice);
    EXPECT_EQ(reasonOf([&] { workspace.findInstance(L"Fake_Thing=one", L""); }),
              "the key Name is a text, and its value stands without quotes" + advice);
    EXPECT_EQ(reasonOf([&] { workspace.findInstance(L"Pair.A=7,B=\"x\"", L"root\\test"); }),
              "the key A is a text, and its value stands without quotes" + advice);
}

TEST_F(WorkspaceTest, Path_withoutAllItsKeys_isRefused)
{
    EXPECT_EQ(reasonOf([&] { workspace.findInstance(L"Pair.b=\"x\"", L"root\\test"); }),
              "the path lacks the key A; a path of the class Pair names each of A, B");
}

TEST_F(WorkspaceTest, Provider_isStartedOnce)
{
    const ClassTarget target = workspace.findClass(L"Fake_Thing", L"");
    EXPECT_EQ(behaviour.alive, 0);
    EXPECT_EQ(&workspace.sessionFor(target), &workspace.sessionFor(target));
    EXPECT_EQ(behaviour.alive, 1);
}

}  // namespace
}  // namespace wmihost
