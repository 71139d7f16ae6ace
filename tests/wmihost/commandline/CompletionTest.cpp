#include "tests/wmihost/CommandTest.h"
#include "tests/wmihost/ExpectedFile.h"

namespace wmihost {
namespace {

using CompletionTest = CommandTest;

// The packages contain these files, so that a shell does not run the program when it starts.
TEST_F(CompletionTest, Scripts_areThoseOfThePackages)
{
    const std::filesystem::path folder = std::filesystem::path(ZERIX_INSTALL_FOLDER) / "completion";
    EXPECT_EQ(run({"completion", "bash"}), 0) << error;
    expectFile(folder / "wmihost-completion.bash", out);
    EXPECT_EQ(run({"completion", "powershell"}), 0) << error;
    expectFile(folder / "wmihost-completion.ps1", out);
}

}  // namespace
}  // namespace wmihost
