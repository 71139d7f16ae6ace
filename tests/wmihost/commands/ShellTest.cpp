#include "wmihost/commands/Shell.h"

#include <fstream>

#include "tests/wmihost/JobTest.h"
#include "wmihost/commands/Commands.h"

namespace wmihost {
namespace {

using Words = std::vector<std::string>;

TEST(SplitWords, Blanks_separateWords)
{
    EXPECT_EQ(splitWords("  list\tFake_Thing  -f json\r"), (Words{"list", "Fake_Thing", "-f", "json"}));
    EXPECT_EQ(splitWords(""), Words());
}

TEST(SplitWords, Quotes_keepBlanksAndGo)
{
    EXPECT_EQ(splitWords(R"(get 'A.K="x y"' "B='z'" Tag="rack 7" '')"),
              (Words{"get", R"(A.K="x y")", "B='z'", "Tag=rack 7", ""}));
    EXPECT_EQ(splitWords(R"("say \"hi\" \\ \n")"), (Words{R"(say "hi" \ \n)"}));
}

TEST(SplitWords, BackslashOutsideQuotes_isPlain)
{
    EXPECT_EQ(splitWords(R"(-n root\DCIM\vexal)"), (Words{"-n", R"(root\DCIM\vexal)"}));
}

TEST(SplitWords, QuoteWithoutEnd_isRefused)
{
    EXPECT_THROW(splitWords("get 'A"), UsageError);
    EXPECT_THROW(splitWords("get \"A\\\""), UsageError);
}

// While the scope lives, standard input comes from a file.
class Input
{
public:
    explicit Input(const std::string& text) : m_before(GetStdHandle(STD_INPUT_HANDLE))
    {
        std::ofstream(m_file, std::ios::binary) << text;
        m_handle =
            CreateFileW(m_file.wstring().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
        SetStdHandle(STD_INPUT_HANDLE, m_handle);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    ~Input()
    {
        SetStdHandle(STD_INPUT_HANDLE, m_before);
        CloseHandle(m_handle);
        std::filesystem::remove(m_file);
    }

private:
    const std::filesystem::path m_file =
        std::filesystem::temp_directory_path() / ("input-" + std::to_string(GetCurrentProcessId()));
    HANDLE m_before;
    HANDLE m_handle;
};

class ShellTest : public JobTest<CommandTest>
{
protected:
    int shell(const std::string& lines)
    {
        const Input input(lines);
        return run({"shell"});
    }
};

TEST_F(ShellTest, EachLine_isACommand_ofOneProvider)
{
    EXPECT_EQ(shell("list Fake_Thing -p Name -f csv\r\n\n# a remark\nwmihost get 'Fake_Thing=\"one\"' -p Count -f csv"),
              0);
    EXPECT_EQ(out, "Name\r\none\r\ntwo\r\nCount\r\n3\r\n");
    EXPECT_EQ(error, "");
    EXPECT_EQ(takeRequests(), (Words{"start in root\\test", "enumerate Fake_Thing", "get Fake_Thing.Name=\"one\""}));
}

TEST_F(ShellTest, Failure_isNotTheEnd)
{
    EXPECT_EQ(shell("list Fake_Nothing\nget 'x\nlist Fake_Thing -p Name -f csv\n"), 0);
    EXPECT_EQ(out, "Name\r\none\r\ntwo\r\n");
    EXPECT_NE(error.find("wmihost list Fake_Nothing: failed\n"), std::string::npos);
    EXPECT_NE(error.find("wmihost: the quote ' has no end\n"), std::string::npos);
}

TEST_F(ShellTest, ExitCode_isThatOfTheLastCommand)
{
    EXPECT_EQ(shell("list Fake_Thing\nlist Fake_Nothing\nexit\nlist Fake_Thing\n"), 1);
    EXPECT_EQ(shell("nonsense"), 2);
    EXPECT_EQ(shell(""), 0);
}

TEST_F(ShellTest, AnotherProvider_isNotChosenInALine)
{
    EXPECT_EQ(shell("--service classes\n"), 2);
    EXPECT_NE(error.find("the shell has its classes and its provider already; end it to choose others"),
              std::string::npos);
}

TEST_F(ShellTest, Job_goesOnAfterItsCommand)
{
    EXPECT_EQ(shell("invoke 'Fake_Runner=\"r\"' Start -f csv"), 0);
    EXPECT_EQ(out, "Job,ReturnValue\r\n\"Fake_Job.InstanceID=\"\"1\"\"\",4096\r\n");
    EXPECT_EQ(error, "");
}

}  // namespace
}  // namespace wmihost
