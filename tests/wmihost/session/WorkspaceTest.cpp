#include "wmihost/session/Workspace.h"

#include "tests/wmihost/CommandTest.h"

namespace wmihost {
namespace {

class WorkspaceTest : public CommandTest
{
protected:
    WorkspaceTest()
    {
        addToMof(R"(
[provider("FakeProvider")] class Pair { [key] string A; [key] string B; };
instance of __Win32Provider { Name = "Odd"; CLSID = "none"; };
[provider("Odd")] class Fake_Odd { [key] string Name; };
#pragma namespace("root\\other")
[provider("FakeProvider")] class Pair { [key] string C; };
)");
    }
};

TEST_F(WorkspaceTest, Target_isFoundOrRefused)
{
    expectSession("session/targets.session");
}

TEST_F(WorkspaceTest, Provider_isStartedOnce)
{
    Workspace workspace{mof};
    const ClassTarget target = workspace.findClass(L"Fake_Thing", L"");
    EXPECT_EQ(behaviour.alive, 0);
    EXPECT_EQ(&workspace.sessionFor(target), &workspace.sessionFor(target));
    EXPECT_EQ(behaviour.alive, 1);
}

}  // namespace
}  // namespace wmihost
