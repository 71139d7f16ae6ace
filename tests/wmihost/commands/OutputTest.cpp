#include "wmihost/commands/Output.h"

#include <cstdlib>
#include <sstream>

#include "tests/wmihost/CommandTest.h"
#include "wmihost/objects/ClassObject.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/session/Workspace.h"
#include "wmihost/terminal/Json.h"
#include "wmihost/terminal/Table.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr const char* RICH_MOF = R"(
[dynamic, provider("FakeProvider")]
class Fake_Rich
{
    [key] string CreationClassName;
    [key] string SystemName;
    [key] string Name;
    [Units("Bits per Second")] uint64 Speed;
    boolean Active;
    datetime Since;
    Fake_Thing ref Owner;
    [ValueMap{"1", "2"}, Values{"Good", "Bad"}] uint16 Codes[];
    string Notes[];
    sint64 Balance;
    real64 Load;
};
)";

// Another thing with many values, besides those of the fake provider.
class OutputTest : public CommandTest
{
protected:
    static ComPtr<IWbemClassObject> richThing(IWbemServices& ns)
    {
        const auto rich = spawn(ns, L"Fake_Rich");
        put(rich, L"CreationClassName", Variant::ofText(L"Fake_Rich"));
        put(rich, L"SystemName", Variant::ofText(L"here"));
        put(rich, L"Name", Variant::ofText(L"r\u00FCck"));
        put(rich, L"Speed", Variant::ofText(L"2500000000"));
        put(rich, L"Active", Variant::ofBool(true));
        put(rich, L"Since", Variant::ofText(L"20261121094145.000000+000"));
        put(rich, L"Owner", Variant::ofText(L"\\\\.\\root\\test:Fake_Thing.Name=\"one\""));
        put(rich, L"Codes", Variant::ofArray(VT_I4, {Variant::ofLong(2), Variant::ofLong(7)}));
        put(rich, L"Notes", Variant::ofTexts({L"a", L"b\"c"}));
        put(rich, L"Balance", Variant::ofText(L"-5"));
        put(rich, L"Load", Variant::ofDouble(0.5));
        return rich;
    }

    void serveRichThing()
    {
        addToMof(RICH_MOF);
        behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
            deliver(sink, richThing(ns));
            return finish(sink);
        };
        behaviour.get = [](IWbemServices& ns, std::wstring_view, IWbemObjectSink* sink) {
            deliver(sink, richThing(ns));
            return finish(sink);
        };
    }

    const std::string server = toUtf8(serverName());
    const char* const richPath = "Fake_Rich.CreationClassName=\"Fake_Rich\",Name=\"x\",SystemName=\"here\"";
};

TEST_F(OutputTest, ListsAsATableWithNumbersToTheRight)
{
    EXPECT_EQ(run({"list", "fake_thing"}), 0);
    EXPECT_EQ(out,
              "Name  Count  State     Bytes\n"
              "----  -----  --------  -----\n"
              "one       3  Enabled\n"
              "two       3  Disabled\n");
    EXPECT_EQ(error, "");
}

TEST_F(OutputTest, ListsAsJson)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--format", "json", "--property", "Name,Count,Bytes"}), 0);
    const auto thing = [this](const std::string& name) {
        return "  {\n    \"__CLASS\": \"Fake_Thing\",\n    \"__PATH\": \"\\\\\\\\" + server +
               "\\\\root\\\\test:Fake_Thing.Name=\\\"" + name + "\\\"\",\n    \"Name\": \"" + name +
               "\",\n    \"Count\": 3,\n    \"Bytes\": null\n  }";
    };
    EXPECT_EQ(out, "[\n" + thing("one") + ",\n" + thing("two") + "\n]\n");
    EXPECT_EQ(error, "");
}

TEST_F(OutputTest, ListsAsMof)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--format", "mof"}), 0);
    EXPECT_EQ(out,
              "instance of Fake_Thing\n{\n    Name = \"one\";\n    Count = 3;\n    State = 2;\n};\n\n"
              "instance of Fake_Thing\n{\n    Name = \"two\";\n    Count = 3;\n    State = 3;\n};\n\n");
}

TEST_F(OutputTest, ATableSpellsEveryKindOfValueForPeople)
{
    serveRichThing();
    // Keys with the same value in every line are left out.
    EXPECT_EQ(run({"list", "Fake_Rich"}), 0);
    EXPECT_EQ(
        out,
        "Name       Speed  Active  Since                    Owner                  Codes   Notes   Balance  Load\n"
        "----  ----------  ------  -----------------------  ---------------------  ------  ------  -------  ----\n"
        "r\xC3\xBC"
        "ck  2.5 Gbit/s  yes     2026-11-21 09:41:45 UTC  Fake_Thing.Name=\"one\"  Bad, 7  a, b\"c       -5   "
        "0.5\n");
    EXPECT_EQ(run({"get", richPath}), 0);
    EXPECT_EQ(out,
              "Property           Value\n"
              "-----------------  -----------------------\n"
              "CreationClassName  Fake_Rich\n"
              "SystemName         here\n"
              "Name               r\xC3\xBC"
              "ck\n"
              "Speed              2.5 Gbit/s\n"
              "Active             yes\n"
              "Since              2026-11-21 09:41:45 UTC\n"
              "Owner              Fake_Thing.Name=\"one\"\n"
              "Codes              Bad, 7\n"
              "Notes              a, b\"c\n"
              "Balance            -5\n"
              "Load               0.5\n");
}

TEST_F(OutputTest, JsonHasTheValuesThemselves)
{
    serveRichThing();
    EXPECT_EQ(run({"get", richPath, "--format", "json"}), 0);
    EXPECT_EQ(out,
              "{\n"
              "  \"__CLASS\": \"Fake_Rich\",\n"
              "  \"__PATH\": \"\\\\\\\\" +
                  server +
                  "\\\\root\\\\test:Fake_Rich.CreationClassName=\\\"Fake_Rich\\\",Name=\\\"r\xC3\xBC"
                  "ck\\\",SystemName=\\\"here\\\"\",\n"
                  "  \"CreationClassName\": \"Fake_Rich\",\n"
                  "  \"SystemName\": \"here\",\n"
                  "  \"Name\": \"r\xC3\xBC"
                  "ck\",\n"
                  "  \"Speed\": 2500000000,\n"
                  "  \"Active\": true,\n"
                  "  \"Since\": \"20261121094145.000000+000\",\n"
                  "  \"Owner\": \"\\\\\\\\.\\\\root\\\\test:Fake_Thing.Name=\\\"one\\\"\",\n"
                  "  \"Codes\": [\n    2,\n    7\n  ],\n"
                  "  \"Notes\": [\n    \"a\",\n    \"b\\\"c\"\n  ],\n"
                  "  \"Balance\": -5,\n"
                  "  \"Load\": 0.5\n"
                  "}\n");
}

TEST_F(OutputTest, TheMofOfAnInstanceCompilesAgain)
{
    serveRichThing();
    EXPECT_EQ(run({"get", richPath, "--format", "mof"}), 0);
    EXPECT_EQ(out,
              "instance of Fake_Rich\n{\n    CreationClassName = \"Fake_Rich\";\n    SystemName = \"here\";\n"
              "    Name = \"r\xC3\xBC"
              "ck\";\n    Speed = 2500000000;\n    Active = TRUE;\n"
              "    Since = \"20261121094145.000000+000\";\n"
              "    Owner = \"\\\\\\\\.\\\\root\\\\test:Fake_Thing.Name=\\\"one\\\"\";\n    Codes = {2, 7};\n"
              "    Notes = {\"a\", \"b\\\"c\"};\n    Balance = -5;\n    Load = 0.5;\n};\n");
    const std::string first = out;
    addToMof(RICH_MOF + first);
    Workspace again(mof);
    const auto instances = again.repository().findNamespace(L"root\\test")->instancesOf(L"Fake_Rich");
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(mofOf(*ClassObject::ofInstance(*instances.front()).get()), first);
}

TEST_F(OutputTest, ListsAsCsv)
{
    serveRichThing();
    EXPECT_EQ(run({"list", "Fake_Rich", "--format", "csv"}), 0);
    EXPECT_EQ(out,
              "CreationClassName,SystemName,Name,Speed,Active,Since,Owner,Codes,Notes,Balance,Load\r\n"
              "Fake_Rich,here,r\xC3\xBC"
              "ck,2500000000,TRUE,20261121094145.000000+000,\"\\\\.\\root\\test:Fake_Thing.Name=\"\"one\"\"\","
              "\"[2,7]\",\"[\"\"a\"\",\"\"b\\\"\"c\"\"]\",-5,0.5\r\n");
    EXPECT_EQ(run({"get", richPath, "--format", "csv", "--property", "Name,__CLASS"}), 0);
    EXPECT_EQ(out,
              "Name,__CLASS\r\nr\xC3\xBC"
              "ck,Fake_Rich\r\n");
    EXPECT_EQ(error, "");
}

TEST_F(OutputTest, CsvOfNoInstance_hasTheNames)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--where", "Name=three", "--format", "csv"}), 0);
    EXPECT_EQ(out, "Name,Count,State,Bytes\r\n");
}

TEST_F(OutputTest, Patterns_nameProperties)
{
    serveRichThing();
    EXPECT_EQ(run({"list", "Fake_Rich", "--format", "csv", "--property", "s*,?oad"}), 0);
    EXPECT_EQ(out, "SystemName,Speed,Since,Load\r\nhere,2500000000,20261121094145.000000+000,0.5\r\n");
}

TEST_F(OutputTest, ControlCharacters_areEscapedInEachFormat)
{
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        deliver(ns, sink, L"a\x1b[2J\x9b\u202Eb\nc", 2);
        return finish(sink);
    };
    EXPECT_EQ(run({"list", "Fake_Thing", "-p", "Name"}), 0);
    EXPECT_EQ(out, "Name\n----------------------\na\\x1B[2J\\x9B\\u202Eb\\nc\n");
    EXPECT_EQ(run({"list", "Fake_Thing", "-p", "Name", "-f", "json"}), 0);
    EXPECT_NE(out.find("\"Name\": \"a\\u001b[2J\\u009b\\u202eb\\nc\""), std::string::npos) << out;
    EXPECT_EQ(Json::parse(out)[0]["Name"],
              "a\x1b[2J\xC2\x9B\xE2\x80\xAE"
              "b\nc");
    EXPECT_EQ(run({"list", "Fake_Thing", "-f", "mof"}), 0);
    EXPECT_NE(out.find("Name = \"a\\x001B[2J\\x009b\\x202eb\\nc\";"), std::string::npos) << out;
    // Data formats contain the characters unchanged.
    EXPECT_EQ(run({"list", "Fake_Thing", "-p", "Name", "-f", "csv"}), 0);
    EXPECT_EQ(out,
              "Name\r\n\"a\x1b[2J\xC2\x9B\xE2\x80\xAE"
              "b\nc\"\r\n");
}

TEST_F(OutputTest, AnAdapterIsShownAtAGlance)
{
    addToMof(R"([dynamic, provider("FakeProvider")] class Zerix_EthernetPort
                {
                    [key] string DeviceID; string Name; string PermanentAddress; string Other;
                    [Units("Bits per Second")] uint64 Speed; uint64 ActiveMaximumTransmissionUnit;
                    uint16 EnabledState;
                };)");
    behaviour.enumerate = [](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        const auto port = spawn(ns, L"Zerix_EthernetPort");
        put(port, L"DeviceID", Variant::ofText(L"{0}"));
        put(port, L"Name", Variant::ofText(L"eth0"));
        put(port, L"PermanentAddress", Variant::ofText(L"02FC00000001"));
        put(port, L"Speed", Variant::ofText(L"1000000000"));
        put(port, L"ActiveMaximumTransmissionUnit", Variant::ofText(L"1500"));
        deliver(sink, port);
        return finish(sink);
    };
    EXPECT_EQ(run({"list", "Zerix_EthernetPort"}), 0);
    EXPECT_EQ(out,
              "Name  MAC              Speed   MTU  State  DeviceID\n"
              "----  ------------  --------  ----  -----  --------\n"
              "eth0  02FC00000001  1 Gbit/s  1500         {0}\n");
    // The command line also accepts a heading as the name of its property.
    EXPECT_EQ(run({"list", "Zerix_EthernetPort", "--property", "mac,MTU,State", "-f", "csv"}), 0);
    EXPECT_EQ(out, "PermanentAddress,ActiveMaximumTransmissionUnit,EnabledState\r\n02FC00000001,1500,\r\n");
    // A property that the user names is shown under that heading, even if it is not in the default columns.
    EXPECT_EQ(run({"list", "Zerix_EthernetPort", "--property", "Other,PermanentAddress"}), 0);
    EXPECT_EQ(out, "Other  MAC\n-----  ------------\n       02FC00000001\n");
}

TEST_F(OutputTest, ATableFitsTheWidthAndSaysWhatItLeavesOut)
{
    serveRichThing();
    SetEnvironmentVariableW(L"COLUMNS", L"60");
    _putenv("COLUMNS=60");
    EXPECT_EQ(run({"list", "Fake_Rich"}), 0);
    EXPECT_EQ(
        error,
        "5 properties do not fit the line; --property Owner,Codes,Notes,Balance,Load shows them, --format json shows "
        "all\n");
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(lengthOf(line), 60U) << line;
    }
    EXPECT_EQ(run({"list", "Fake_Rich", "--property", "Name,Active"}), 0);
    EXPECT_EQ(error, "");
    SetEnvironmentVariableW(L"COLUMNS", L"12");
    _putenv("COLUMNS=12");
    EXPECT_EQ(run({"list", "Fake_Rich", "--property", "Speed,Active"}), 0);
    EXPECT_EQ(out, "     Speed\n----------\n2.5 Gbit/s\n");
    EXPECT_EQ(error, "1 property does not fit the line; --property Active shows it, --format json shows all\n");
}

}  // namespace
}  // namespace wmihost
