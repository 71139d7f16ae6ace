#include <iterator>

#include "tests/wmihost/CommandTest.h"
#include "wmihost/terminal/Json.h"

namespace wmihost {
namespace {

using ClassesTest = CommandTest;

TEST_F(ClassesTest, DescribesAClass)
{
    EXPECT_EQ(run({"describe", "Fake_Thing"}), 0);
    EXPECT_EQ(out,
              "Fake_Thing in root\\test\n"
              "A thing.\n"
              "\n"
              "Property  Type    Access  Description\n"
              "--------  ------  ------  -----------------------------------------\n"
              "Name      string  key     Its name.\n"
              "Count     uint16  write   How many.\n"
              "State     uint16          Its state. Values: 2 Enabled, 3 Disabled.\n"
              "Bytes     uint64          Bytes so far. Unit: Bytes.\n"
              "\n"
              "uint32 Turn(in uint16 Degrees, out string Said)\n"
              "    Turns it.\n"
              "    Returns: 0 Done, 5 Invalid\n"
              "\n"
              "uint32 Rest()\n"
              "    Rests.\n"
              "\n"
              "uint32 Tilt(in uint16 Angle, in uint16 Axis)\n"
              "    Tilts it.\n"
              "    Axis: Values: 1 Long, 2 Short.\n"
              "    Returns: 7 Successful, with a restart\n");
}

TEST_F(ClassesTest, ListsTheClasses)
{
    EXPECT_EQ(run({"classes"}), 0);
    EXPECT_EQ(out,
              "Class        Namespace  Description\n"
              "-----------  ---------  -----------\n"
              "Fake_Thing   root\\test  A thing.\n"
              "Fake_Stray   root\\test\n"
              "Fake_Orphan  root\\test\n");
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

TEST_F(ClassesTest, DescribesParametersUnitsAndWords)
{
    std::ofstream(mof) << "#pragma namespace(\"root\\\\test\")\n" << RICH_CLASS;
    EXPECT_EQ(run({"describe", "Rich"}), 0);
    EXPECT_EQ(out,
              "Rich in root\\test\n"
              "A | B.\n"
              "\n"
              "Property  Type      Access  Description\n"
              "--------  --------  ------  ------------------------\n"
              "Name      string    key     Its name.\n"
              "Time      uint16    write   How long. Unit: Seconds.\n"
              "Note      string[]  write   Free | text.\n"
              "\n"
              "uint32 Run(in uint16 Mode, out Rich ref Result)\n"
              "    Runs.\n"
              "    Mode: How. Values: 5 Fast.\n"
              "    Returns: 0 Done, 1 Failed\n");
}

TEST_F(ClassesTest, DescribesForMarkdownPages)
{
    std::ofstream(mof) << "#pragma namespace(\"root\\\\test\")\n" << RICH_CLASS;
    EXPECT_EQ(run({"describe", "Rich", "--format", "markdown"}), 0);
    EXPECT_EQ(out,
              "## Rich\n"
              "\n"
              "`root\\test`. A | B.\n"
              "\n"
              "| property | type | access | range | meaning |\n"
              "|---|---|---|---|---|\n"
              "| `Name` | string | key |  | Its name. |\n"
              "| `Time` | uint16 | write | 1 to 9 | How long. Unit: Seconds. |\n"
              "| `Note` | string[] | write | 0 to 8 bytes | Free \\| text. |\n"
              "\n"
              "### Run\n"
              "\n"
              "`uint32 Run(in uint16 Mode, out Rich ref Result)`. Runs.\n"
              "\n"
              "- `Mode`: How. Values: 5 Fast.\n"
              "- `Result`\n"
              "\n"
              "Returns: 0 Done, 1 Failed.\n");
}

TEST_F(ClassesTest, Mapping_isATableOfItsOwn)
{
    std::ofstream(mof) << "#pragma namespace(\"root\\\\test\")\n"
                       << R"(class Mapped {
        [key] string Own;
        [MappingStrings{"CIM_Port.Speed", "MSFT_Port.Fast", "Win32_Port.Speed"}] uint16 Speed;
        [MappingStrings{"MSFT_Port.Name"}] string Name;
        [MappingStrings("no array")] string Text;
    };)";
    EXPECT_EQ(run({"describe", "Mapped", "--format", "markdown"}), 0);
    EXPECT_EQ(out,
              "## Mapped\n"
              "\n"
              "`root\\test`. \n"
              "\n"
              "| property | type | access | range | meaning |\n"
              "|---|---|---|---|---|\n"
              "| `Own` | string | key |  |  |\n"
              "| `Speed` | uint16 |  |  |  |\n"
              "| `Name` | string |  |  |  |\n"
              "| `Text` | string |  |  |  |\n"
              "\n"
              "| property | as the DMTF has it | as Windows has it |\n"
              "|---|---|---|\n"
              "| `Speed` | `CIM_Port.Speed` | `MSFT_Port.Fast`, `Win32_Port.Speed` |\n"
              "| `Name` |  | `MSFT_Port.Name` |\n");
}

TEST_F(ClassesTest, DescribesForPrograms)
{
    std::ofstream(mof) << "#pragma namespace(\"root\\\\test\")\n" << RICH_CLASS;
    EXPECT_EQ(run({"describe", "Rich", "--format", "json"}), 0);
    const Json expected = Json::parse(R"({
        "class": "Rich", "namespace": "root\\test", "superclass": null, "description": "A | B.",
        "properties": [
            {"name": "Name", "type": "string", "key": true, "writable": false, "description": "Its name."},
            {"name": "Time", "type": "uint16", "key": false, "writable": true, "description": "How long.",
             "units": "Seconds", "MinValue": 1, "MaxValue": 9},
            {"name": "Note", "type": "string[]", "key": false, "writable": true, "description": "Free | text.",
             "MaxLen": 8}],
        "methods": [
            {"name": "Run", "description": "Runs.", "values": {"0": "Done", "1": "Failed"},
             "in": [{"name": "Mode", "type": "uint16", "description": "How.", "values": {"5": "Fast"}}],
             "out": [{"name": "Result", "type": "Rich ref", "description": ""},
                     {"name": "ReturnValue", "type": "uint32", "description": ""}]}]})");
    EXPECT_EQ(out, expected.dump(2) + "\n");
}

TEST_F(ClassesTest, TheMofOfAClassCompilesAgain)
{
    std::ofstream(mof) << "#pragma namespace(\"root\\\\test\")\n" << RICH_CLASS;
    EXPECT_EQ(run({"describe", "Rich", "--format", "mof"}), 0);
    const std::string first = out;
    std::ofstream(mof) << "#pragma namespace(\"root\\\\test\")\n" << first;
    EXPECT_EQ(run({"describe", "Rich", "--format", "mof"}), 0);
    EXPECT_EQ(out, first);
}

// `wmihost describe --format markdown` writes the page again.
TEST_F(ClassesTest, ThePageOfTheProductsClassesIsWhatTheMofSays)
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
