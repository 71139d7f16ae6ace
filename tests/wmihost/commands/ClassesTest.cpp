#include <iterator>

#include "tests/wmihost/CommandTest.h"

namespace wmihost {
namespace {

using ClassesTest = CommandTest;

TEST_F(ClassesTest, ClassesAndDescribe_answerAsRecorded)
{
    expectSession("commands/classes.session");
}

constexpr const char* RICH_CLASS = R"(
[Description("A | B.")]
class Rich
{
    [key, Description("Its name.")] string Name;
    [write, MinValue(1), MaxValue(9), Units("Seconds"), Description("How long.")] uint16 Time;
    [write, MaxLen(8), Description("Free | text.")] string Note[];
    [ValueMap{"0", "1"}, Values{"Done", "Failed"}, Description("Runs.")]
    uint32 Run([in, ValueMap{"5"}, Values{"Fast"}, Description("How.")] uint16 Mode, [out] Rich ref Result);
};
)";

constexpr const char* MAPPED_CLASS = R"(
class Mapped
{
    [key] string Own;
    [MappingStrings{"CIM_Port.Speed", "MSFT_Port.Fast", "Win32_Port.Speed"}] uint16 Speed;
    [MappingStrings{"MSFT_Port.Name"}] string Name;
    [MappingStrings("no array")] string Text;
};
)";

TEST_F(ClassesTest, Describe_showsParametersUnitsAndMapping)
{
    std::ofstream(mof) << "#pragma namespace(\"root\\\\test\")\n" << RICH_CLASS << MAPPED_CLASS;
    expectSession("commands/describe.session");
}

TEST_F(ClassesTest, MofOfAClass_compilesAgain)
{
    std::ofstream(mof) << "#pragma namespace(\"root\\\\test\")\n" << RICH_CLASS;
    EXPECT_EQ(run({"describe", "Rich", "--format", "mof"}), 0);
    const std::string first = out;
    std::ofstream(mof) << "#pragma namespace(\"root\\\\test\")\n" << first;
    EXPECT_EQ(run({"describe", "Rich", "--format", "mof"}), 0);
    EXPECT_EQ(out, first);
}

// `wmihost describe --format markdown` writes the page again.
TEST_F(ClassesTest, PageOfTheClasses_isWhatTheMofSays)
{
    std::filesystem::copy_file(ZERIX_INSTALL_FOLDER "/ZerixDRAVEv2.mof", mof,
                               std::filesystem::copy_options::overwrite_existing);
    std::ifstream stream(ZERIX_DOCS_FOLDER "/classes.md", std::ios::binary);
    const std::string page{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    EXPECT_EQ(run({"describe", "--format", "markdown"}), 0);
    EXPECT_EQ(out, page);
}

}  // namespace
}  // namespace wmihost
