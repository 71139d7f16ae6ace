#include "wmihost/commandline/CommandLine.h"

#include <cstddef>
#include <map>
#include <regex>
#include <sstream>

#include "tests/wmihost/CommandTest.h"
#include "tests/wmihost/TextRow.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Lines.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

using CommandLineTest = CommandTest;

TEST_F(CommandLineTest, AFailedRequestIsExplained)
{
    EXPECT_EQ(run({"get", "Fake_Thing=\"none\""}), 1);
    EXPECT_EQ(out, "");
    EXPECT_EQ(error,
              "wmihost get Fake_Thing=\"none\": failed\n"
              "  WBEM_E_NOT_FOUND (0x80041002): there is no such object\n"
              "  Try: list the class to see the paths and names that exist\n");
}

TEST_F(CommandLineTest, AnExceptionOfTheProviderIsShown)
{
    behaviour.enumerate = [](IWbemServices&, std::wstring_view, IWbemContext*, IWbemObjectSink*) -> HRESULT {
        throw std::runtime_error("lost");
    };
    EXPECT_EQ(run({"list", "Fake_Thing"}), 1);
    EXPECT_EQ(error,
              "wmihost list Fake_Thing: failed\n"
              "  WBEM_E_PROVIDER_FAILURE (0x80041004): the provider failed after its start\n"
              "  Reason: the provider threw: lost\n"
              "  Try: the provider's log at level 2 (VEXAL_DRAVEv2_LOG_LEVEL) says where\n");
}

TEST_F(CommandLineTest, AClassWhoseProviderIsNotRegisteredIsRefused)
{
    EXPECT_EQ(run({"list", "Fake_Stray"}), 1);
    EXPECT_EQ(error,
              "wmihost list Fake_Stray: failed\n"
              "  WBEM_E_PROVIDER_NOT_FOUND (0x80041011): the provider of the class is not registered\n"
              "  Reason: the provider AbsentProvider of the class Fake_Stray is not registered in root\\test\n"
              "  Try: the MOF needs an instance of __Win32Provider in the namespace of the class\n");
}

// The examples of the help, by command.
const std::map<std::string, std::string>& examples()
{
    static const std::map<std::string, std::string> lines{
        {"wmihost classes", "wmihost classes"},
        {"wmihost describe", "wmihost describe Zerix_ConcreteJob"},
        {"wmihost list", "wmihost list Zerix_EthernetPort --where EnabledState=Enabled"},
        {"wmihost get", "wmihost get 'Zerix_SoftwareIdentity.InstanceID=\"...\"' --format json"},
        {"wmihost query",
         "wmihost query \"SELECT Name, Speed FROM Zerix_EthernetPort WHERE EnabledState = 2 AND Name LIKE 'eth%'\""},
        {"wmihost related",
         "wmihost related \"Zerix_EthernetPort.DeviceID='...',...\" --where \"ResultClass=Zerix_IPProtocolEndpoint\""},
        {"wmihost set", "wmihost set 'Zerix_AdapterSetting.InstanceID=\"...\"' ElementName=Uplink Tag=null"},
        {"wmihost delete", "wmihost delete 'Zerix_ConcreteJob.InstanceID=\"...\"'"},
        {"wmihost invoke",
         "wmihost invoke 'Zerix_EthernetPort.DeviceID=\"...\",...' RunLinkDiagnostic SampleCount=5 --wait"},
        {"wmihost watch", "wmihost watch Zerix_EthernetPortStatistics --count 10"},
        {"wmihost metrics", "wmihost metrics --output C:\\metrics\\zerix.prom --every 15"},
        {"wmihost self-test", "wmihost self-test"},
        {"wmihost shell", "wmihost shell"},
        {"wmihost completion", "wmihost completion powershell"},
    };
    return lines;
}

struct WrongUsage
{
    const char* name;
    std::vector<std::string> arguments;
    const char* reason;  // the name of the command included
};

void PrintTo(const WrongUsage& row, std::ostream* stream)
{
    *stream << row.name;
}

class WrongUsages : public CommandTest, public testing::WithParamInterface<WrongUsage>
{
};

TEST_P(WrongUsages, AreExplainedWithAnExample)
{
    const std::string reason = GetParam().reason;
    const std::string command = reason.substr(0, reason.find(':'));
    const std::string help = command == "wmihost" ? "  Commands: classes, describe, list, get, query, related, set, "
                                                    "delete, invoke, watch, metrics, self-test, shell, completion\n"
                                                    "  wmihost --help explains them\n"
                                                  : "  Example: " + examples().at(command) + "\n  " + command +
                                                        " --help shows all that it takes\n";
    EXPECT_EQ(run(GetParam().arguments), 2);
    EXPECT_EQ(error, reason + "\n" + help);
    EXPECT_EQ(out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Table, WrongUsages,
    testing::Values(
        WrongUsage{"UnknownCommand", {"nonsense"}, "wmihost: there is no command 'nonsense'"},
        WrongUsage{"MisspeltCommand", {"lst"}, "wmihost: there is no command 'lst'; did you mean list?"},
        WrongUsage{"PieceOfACommand", {"test"}, "wmihost: there is no command 'test'; did you mean self-test?"},
        WrongUsage{"MisspeltOption",
                   {"list", "Fake_Thing", "--proprety", "Name"},
                   "wmihost list: there is no option --proprety here; did you mean --property?"},
        WrongUsage{"MisspeltOptionOfTheProgram",
                   {"classes", "--namspace", "root"},
                   "wmihost classes: there is no option --namspace here; did you mean --namespace?"},
        WrongUsage{"UnknownOptionOfTheProgram", {"--colour"}, "wmihost: there is no option --colour here"},
        WrongUsage{"UnknownOption", {"list", "Fake_Thing", "--bogus"}, "wmihost list: there is no option --bogus here"},
        WrongUsage{"OptionOfAnotherCommand",
                   {"classes", "--where", "a=b"},
                   "wmihost classes: there is no option --where here"},
        WrongUsage{"OneArgumentTooMany",
                   {"list", "Fake_Thing", "Fake_Stray"},
                   "wmihost list: one argument too many: 'Fake_Stray'"},
        WrongUsage{"NoClass", {"watch"}, "wmihost watch: class is required"},
        WrongUsage{"NoPath", {"get"}, "wmihost get: path is required"},
        WrongUsage{"NoPathToDelete", {"delete"}, "wmihost delete: path is required"},
        WrongUsage{"NoMethod", {"invoke", "Fake_Thing=\"one\""}, "wmihost invoke: method is required"},
        WrongUsage{"NoValues", {"set", "Fake_Thing=\"one\""}, "wmihost set: value is required"},
        WrongUsage{"UnknownFormat",
                   {"list", "Fake_Thing", "--format", "xml"},
                   "wmihost list: --format: 'xml' is not one of table, json, mof, csv"},
        WrongUsage{"NoFormat",
                   {"list", "Fake_Thing", "--format"},
                   "wmihost list: --format: 1 required table|json|mof|csv missing"},
        WrongUsage{"UnknownFormatOfADescription",
                   {"describe", "--format", "html"},
                   "wmihost describe: --format: 'html' is not one of table, json, mof, markdown"},
        WrongUsage{"FormatOfADeletion",
                   {"delete", "Fake_Thing=\"one\"", "--format", "json"},
                   "wmihost delete: there is no option --format here"},
        WrongUsage{"FormatOfTheSelfTest",
                   {"self-test", "--format", "json"},
                   "wmihost self-test: there is no option --format here"},
        WrongUsage{"MarkdownOfInstances",
                   {"list", "Fake_Thing", "--format", "markdown"},
                   "wmihost list: --format: 'markdown' is not one of table, json, mof, csv"},
        WrongUsage{"TooManyThreads",
                   {"get", "Fake_Thing=\"one\"", "--threads", "257"},
                   "wmihost get: --threads: '257' is not a number from 1 to 256"},
        WrongUsage{"IntervalOfNoTime",
                   {"watch", "Fake_Thing", "--interval", "0"},
                   "wmihost watch: --interval: '0' is not a number from 10 to 3600000"},
        WrongUsage{
            "UnknownLevel",
            {"list", "Fake_Thing", "--impersonation", "root"},
            "wmihost list: --impersonation: 'root' is not one of none, anonymous, identify, impersonate, delegate"},
        WrongUsage{"NoThreads",
                   {"list", "Fake_Thing", "--threads", "0"},
                   "wmihost list: --threads: '0' is not a number from 1 to 256"},
        WrongUsage{"RepeatThatIsNoNumber",
                   {"get", "Fake_Thing=\"one\"", "--repeat", "often"},
                   "wmihost get: --repeat: 'often' is not a number from 1 to 1000000"},
        WrongUsage{"CountThatIsNoNumber",
                   {"watch", "Fake_Thing", "--count", "x"},
                   "wmihost watch: --count: 'x' is not a number from 1 to 1000000"},
        WrongUsage{"ClassWithoutCounters",
                   {"watch", "Fake_Orphan", "--count", "1"},
                   "wmihost watch: the class Fake_Orphan has no counters to watch among the properties"},
        WrongUsage{"ConditionWithoutValue",
                   {"list", "Fake_Thing", "--where", "Name"},
                   "wmihost list: at character 5: expected one of = != <> < <= > >= LIKE IS ISA behind the property\n"
                   "  Name\n"
                   "      ^"},
        WrongUsage{"ConditionThatDoesNotFit",
                   {"list", "Fake_Thing", "--where", "Count=many"},
                   "wmihost list: at character 7: Count is a number; 'many' is not\n"
                   "  Count=many\n"
                   "        ^"},
        WrongUsage{"TwoConditionsForOneOption",
                   {"list", "Fake_Thing", "--where", "Count=1", "Name=x"},
                   "wmihost list: one argument too many: 'Name=x'"},
        WrongUsage{"NoQuery", {"query"}, "wmihost query: query is required"},
        WrongUsage{"BrokenQuery",
                   {"query", "SELECT * FORM Fake_Thing"},
                   "wmihost query: at character 10: expected a comma or FROM\n"
                   "  SELECT * FORM Fake_Thing\n"
                   "           ^"},
        WrongUsage{"PropertiesOfMetaClass",
                   {"query", "SELECT Name FROM meta_class"},
                   "wmihost query: meta_class takes SELECT * alone: the answer consists of whole classes"},
        WrongUsage{"AssignmentWithoutValue",
                   {"set", "Fake_Thing=\"one\"", "Count"},
                   "wmihost set: 'Count' is not of the form NAME=VALUE"},
        WrongUsage{"AssignmentWithoutName",
                   {"set", "Fake_Thing=\"one\"", "=7"},
                   "wmihost set: '=7' is not of the form NAME=VALUE"},
        WrongUsage{"ArgumentWithoutValue",
                   {"invoke", "Fake_Thing=\"one\"", "Turn", "90"},
                   "wmihost invoke: '90' is not of the form NAME=VALUE"},
        WrongUsage{"ValueOfAnotherType",
                   {"set", "Fake_Thing=\"one\"", "Count=many"},
                   "wmihost set: Count: 'many' is no uint16: a whole number from 0 to 65535"},
        WrongUsage{"WordThatIsNone",
                   {"set", "Fake_Thing=\"one\"", "State=Enable"},
                   "wmihost set: State: 'Enable' is no uint16: a whole number from 0 to 65535, or one of the words "
                   "Enabled, Disabled; did you mean Enabled?"},
        WrongUsage{
            "UnknownShell", {"completion", "zsh"}, "wmihost completion: shell: 'zsh' is not one of bash, powershell"},
        WrongUsage{"BrokenPath",
                   {"get", "Fake_Thing."},
                   "wmihost get: 'Fake_Thing.' is not an object path: expected the name of a key at character 12"}),
    rowName);

struct Refusal
{
    const char* name;
    std::vector<std::string> arguments;
    const char* explanation;  // the text after the command
};

void PrintTo(const Refusal& row, std::ostream* stream)
{
    *stream << row.name;
}

class Refusals : public CommandTest, public testing::WithParamInterface<Refusal>
{
};

TEST_P(Refusals, SayStatusNumberMeaningReasonAndRemedy)
{
    std::string asked = "wmihost";
    for (const std::string& argument : GetParam().arguments) {
        asked += " " + argument;
    }
    EXPECT_EQ(run(GetParam().arguments), 1);
    std::string explanation = GetParam().explanation;
    if (const std::size_t at = explanation.find("MACHINE"); at != std::string::npos) {
        explanation.replace(at, 7, toUtf8(serverName()));
    }
    EXPECT_EQ(error, asked + ": failed\n" + explanation);
    EXPECT_EQ(out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Table, Refusals,
    testing::Values(
        Refusal{"UnknownClass",
                {"list", "Fake_Nothing"},
                "  WBEM_E_INVALID_CLASS (0x80041010): there is no such class\n"
                "  Reason: the MOF declares no class Fake_Nothing; did you mean Fake_Thing?\n"
                "  Try: 'wmihost classes' shows the classes\n"},
        Refusal{"ClassThatIsLikeNone",
                {"describe", "Processor"},
                "  WBEM_E_INVALID_CLASS (0x80041010): there is no such class\n"
                "  Reason: the MOF declares no class Processor\n"
                "  Try: 'wmihost classes' shows the classes\n"},
        Refusal{"MisspeltNamespace",
                {"list", "Fake_Thing", "--namespace", "\\\\.\\root\\tets"},
                "  WBEM_E_INVALID_NAMESPACE (0x8004100E): there is no such namespace\n"
                "  Reason: the MOF declares no namespace \\\\.\\root\\tets; did you mean root\\test?\n"
                "  Try: 'wmihost classes' shows the namespaces that the MOF declares\n"},
        Refusal{"MisspeltMethod",
                {"invoke", "Fake_Thing=\"one\"", "Tirn"},
                "  WBEM_E_INVALID_METHOD (0x8004102E): there is no such method\n"
                "  Reason: the class Fake_Thing has no method Tirn; did you mean Turn?\n"
                "  Try: describe the class to see its methods\n"},
        Refusal{
            "MisspeltArgument",
            {"invoke", "Fake_Thing=\"one\"", "Turn", "Degree=1"},
            "  WBEM_E_INVALID_METHOD_PARAMETERS (0x8004102F): the arguments do not fit the method, or what it is to "
            "act on does not exist\n"
            "  Reason: the method Turn takes no argument Degree; did you mean Degrees?\n"
            "  Try: describe the class to see the parameters, and list it to see the instances\n"},
        Refusal{"UnknownNamespace",
                {"list", "Fake_Thing", "--namespace", "root\\none"},
                "  WBEM_E_INVALID_NAMESPACE (0x8004100E): there is no such namespace\n"
                "  Reason: the MOF declares no namespace root\\none\n"
                "  Try: 'wmihost classes' shows the namespaces that the MOF declares\n"},
        Refusal{"UnknownNamespaceOfClasses",
                {"classes", "--namespace", "root\\none"},
                "  WBEM_E_INVALID_NAMESPACE (0x8004100E): there is no such namespace\n"
                "  Reason: the MOF declares no namespace root\\none\n"
                "  Try: 'wmihost classes' shows the namespaces that the MOF declares\n"},
        Refusal{"UnknownNamespaceOfDescriptions",
                {"describe", "--namespace", "root\\tst"},
                "  WBEM_E_INVALID_NAMESPACE (0x8004100E): there is no such namespace\n"
                "  Reason: the MOF declares no namespace root\\tst; did you mean root\\test?\n"
                "  Try: 'wmihost classes' shows the namespaces that the MOF declares\n"},
        Refusal{"UnknownNamespaceOfMetrics",
                {"metrics", "--namespace", "root\\none"},
                "  WBEM_E_INVALID_NAMESPACE (0x8004100E): there is no such namespace\n"
                "  Reason: the MOF declares no namespace root\\none\n"
                "  Try: 'wmihost classes' shows the namespaces that the MOF declares\n"},
        Refusal{"PatternThatMatchesNothing",
                {"list", "Fake_Thing", "--property", "Packets*"},
                "  WBEM_E_INVALID_PROPERTY (0x80041031): there is no such property\n"
                "  Reason: no property of the class Fake_Thing matches Packets*\n"
                "  Try: describe the class to see its properties\n"},
        Refusal{"UnknownProperty",
                {"list", "Fake_Thing", "--property", "Colour"},
                "  WBEM_E_INVALID_PROPERTY (0x80041031): there is no such property\n"
                "  Reason: the class Fake_Thing has no property Colour\n"
                "  Try: describe the class to see its properties\n"},
        Refusal{"PathOfAClass",
                {"get", "Fake_Thing"},
                "  WBEM_E_INVALID_OBJECT_PATH (0x8004103A): the path is not valid\n"
                "  Reason: the path names a class; the path of an instance has keys\n"
                "  Try: a path is Class.Key=\"value\",Other=7; list the class with --format json to see __PATH\n"},
        Refusal{"PathToAnotherMachine",
                {"get", "\\\\far\\root\\test:Fake_Thing=\"one\""},
                "  WBEM_E_TRANSPORT_FAILURE (0x80041015): the network failed\n"
                "  Reason: the path leads to the machine far; this is MACHINE\n"
                "  Try: ask on that machine itself, with a path that names no server\n"},
        Refusal{"UnknownMethod",
                {"invoke", "Fake_Thing=\"one\"", "Run"},
                "  WBEM_E_INVALID_METHOD (0x8004102E): there is no such method\n"
                "  Reason: the class Fake_Thing has no method Run\n"
                "  Try: describe the class to see its methods\n"},
        Refusal{
            "UnknownArgument",
            {"invoke", "Fake_Thing=\"one\"", "Turn", "Speed=1"},
            "  WBEM_E_INVALID_METHOD_PARAMETERS (0x8004102F): the arguments do not fit the method, or what it is to "
            "act on does not exist\n"
            "  Reason: the method Turn takes no argument Speed\n"
            "  Try: describe the class to see the parameters, and list it to see the instances\n"},
        Refusal{"WhatTheRegistrationDoesNotPromise",
                {"delete", "Fake_Thing=\"one\""},
                "  WBEM_E_PROVIDER_NOT_CAPABLE (0x80041024): the provider cannot do this\n"
                "  Try: the registration in the MOF says what it supports; instances can be updated, not created\n"}),
    rowName);

TEST_F(CommandLineTest, TheHelpNamesEveryCommandWithAnExample)
{
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_EQ(
        out,
        "Plays WMI's provider host for one provider, and asks it like a client.\n"
        "Usage: wmihost [OPTIONS] [SUBCOMMAND]\n"
        "\n"
        "Options:\n"
        "  -h,--help                   Print this help message and exit\n"
        "  -V,--version                show the version and exit\n"
        "  -q,--quiet                  no hints and no progress on standard error\n"
        "  -m,--mof FILE               the MOF file with the classes and the registration of their provider\n"
        "  -n,--namespace NAME         look for classes in this namespace only\n"
        "  -s,--service                ask this machine's WMI in place of a provider in this process\n"
        "  --synchronous               with --service: make synchronous calls only\n"
        "\n"
        "Subcommands:\n"
        "  classes                     Lists the classes of the MOF\n"
        "  describe                    Shows the properties and methods of a class, or of all\n"
        "  list                        Lists the instances of a class\n"
        "  get                         Shows an instance\n"
        "  query                       Answers a query in WQL\n"
        "  related                     Shows what is associated with an instance\n"
        "  set                         Changes properties of an instance, and shows it\n"
        "  delete                      Deletes an instance\n"
        "  invoke                      Runs a method of an instance\n"
        "  watch                       Shows the rates of a class's counters\n"
        "  metrics                     Writes the adapters' counters and states for Prometheus\n"
        "  self-test                   Makes a request of each kind, and gives each a verdict\n"
        "  shell                       Reads commands from standard input, with one provider for all: jobs go on "
        "between them\n"
        "  completion                  Writes a script that makes a shell complete commands, options and classes\n"
        "\n"
        "Without a command, the network adapters are listed.\n"
        "\n"
        "Examples:\n"
        "  wmihost classes\n"
        "  wmihost describe Zerix_ConcreteJob\n"
        "  wmihost list Zerix_EthernetPort --where EnabledState=Enabled\n"
        "  wmihost get 'Zerix_SoftwareIdentity.InstanceID=\"...\"' --format json\n"
        "  wmihost query \"SELECT Name, Speed FROM Zerix_EthernetPort WHERE EnabledState = 2 AND Name LIKE 'eth%'\"\n"
        "  wmihost related \"Zerix_EthernetPort.DeviceID='...',...\" --where "
        "\"ResultClass=Zerix_IPProtocolEndpoint\"\n"
        "  wmihost set 'Zerix_AdapterSetting.InstanceID=\"...\"' ElementName=Uplink Tag=null\n"
        "  wmihost delete 'Zerix_ConcreteJob.InstanceID=\"...\"'\n"
        "  wmihost invoke 'Zerix_EthernetPort.DeviceID=\"...\",...' RunLinkDiagnostic SampleCount=5 --wait\n"
        "  wmihost watch Zerix_EthernetPortStatistics --count 10\n"
        "  wmihost metrics --output C:\\metrics\\zerix.prom --every 15\n"
        "  wmihost self-test\n"
        "  wmihost shell\n"
        "  wmihost completion powershell\n"
        "\n");
    EXPECT_EQ(error, "");
}

TEST_F(CommandLineTest, TheHelpOfACommandShowsWhatItTakes)
{
    EXPECT_EQ(run({"watch", "--help"}), 0);
    EXPECT_EQ(out,
              "Shows the rates of a class's counters\n"
              "Usage: wmihost watch [OPTIONS] class\n"
              "\n"
              "Positionals:\n"
              "  class REQUIRED              the class\n"
              "\n"
              "Options:\n"
              "  -h,--help                   Print this help message and exit\n"
              "  -c,--count N:1 to 1000000   show N tables, then end\n"
              "  -i,--interval N:10 to 3600000\n"
              "                              milliseconds from one table to the next\n"
              "  -p,--property A,B ...       show these properties; * and ? stand for letters of their names\n"
              "  -w,--where CONDITION ...    only instances that meet this condition of WQL: \"State=Enabled AND Name "
              "LIKE 'eth%'\"\n"
              "  --impersonation none|anonymous|identify|impersonate|delegate\n"
              "                              how far the provider may act as the client; none: without a token\n"
              "\n"
              "Options of every command:\n"
              "  -V,--version                show the version and exit\n"
              "  -q,--quiet                  no hints and no progress on standard error\n"
              "  -m,--mof FILE               the MOF file with the classes and the registration of their provider\n"
              "  -n,--namespace NAME         look for classes in this namespace only\n"
              "  -s,--service                ask this machine's WMI in place of a provider in this process\n"
              "  --synchronous               with --service: make synchronous calls only\n"
              "\n"
              "Example:\n"
              "  wmihost watch Zerix_EthernetPortStatistics --count 10\n"
              "\n");
}

TEST_F(CommandLineTest, TheHelpOfEachCommandEndsWithItsExample)
{
    for (const auto& [command, example] : examples()) {
        EXPECT_EQ(run({command.substr(command.find(' ') + 1), "--help"}), 0);
        EXPECT_TRUE(out.ends_with("\nExample:\n  " + example + "\n\n")) << out;
        EXPECT_EQ(error, "");
    }
}

TEST_F(CommandLineTest, Version_isThatOfTheProduct)
{
    for (const auto* option : {"--version", "-V"}) {
        EXPECT_EQ(run({option}), 0);
        EXPECT_TRUE(std::regex_match(out, std::regex("wmihost [0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+\n"))) << out;
        EXPECT_EQ(error, "");
    }
}

TEST_F(CommandLineTest, ShortOptions_areTheLongOnes)
{
    EXPECT_EQ(run({"list", "Fake_Thing", "--format", "csv", "--property", "Name", "--where", "State=3", "--namespace",
                   "root/test"}),
              0);
    const std::string expected = out;
    EXPECT_EQ(expected, "Name\r\ntwo\r\n");
    EXPECT_EQ(run({"list", "-f", "csv", "-p", "Name", "-w", "State=3", "-n", "root/test", "Fake_Thing"}), 0);
    EXPECT_EQ(out, expected);
}

TEST_F(CommandLineTest, OptionWithSeveralValues_leavesTheClassAlone)
{
    EXPECT_EQ(run({"list", "--property", "Name,State", "--where", "State=2", "Fake_Thing"}), 0);
    EXPECT_EQ(out, "Name  State\n----  -------\none   Enabled\n");
    EXPECT_EQ(error, "");
}

TEST_F(CommandLineTest, HelpOfEveryCommand_hasTheOptionsOfTheProgram)
{
    for (const auto& [command, example] : examples()) {
        EXPECT_EQ(run({command.substr(command.find(' ') + 1), "-h"}), 0);
        const std::size_t begin = out.find("\nOptions of every command:\n");
        ASSERT_NE(begin, std::string::npos) << out;
        for (const auto* option : {"--version", "--quiet", "--mof", "--namespace", "--service", "--synchronous"}) {
            EXPECT_NE(out.find(option, begin), std::string::npos) << command << " " << option;
        }
    }
}

TEST_F(CommandLineTest, Help_fitsTheLine)
{
    for (const std::size_t width : {40U, 80U, 200U}) {
        _putenv(("COLUMNS=" + std::to_string(width)).c_str());
        for (const auto& [command, example] : examples()) {
            EXPECT_EQ(run({command.substr(command.find(' ') + 1), "--help"}), 0);
            std::istringstream lines(out);
            for (std::string line; std::getline(lines, line);) {
                // Examples are not wrapped, so that users can copy them.
                EXPECT_TRUE(lengthOf(line) <= width || line.starts_with("  wmihost ")) << command << ": " << line;
            }
        }
    }
    _putenv("COLUMNS=");
}

TEST_F(CommandLineTest, NarrowHelp_breaksChoicesBetweenWords)
{
    _putenv("COLUMNS=40");
    EXPECT_EQ(run({"query", "--help"}), 0);
    _putenv("COLUMNS=");
    EXPECT_NE(out.find("  --impersonation none, anonymous,\n        identify, impersonate, delegate\n"),
              std::string::npos)
        << out;
}

TEST_F(CommandLineTest, ControlCharactersOfArguments_areSpelled)
{
    EXPECT_EQ(run({"list", "Fake\x1b[2J"}), 1);
    EXPECT_EQ(error,
              "wmihost list Fake\\x1B[2J: failed\n"
              "  WBEM_E_INVALID_CLASS (0x80041010): there is no such class\n"
              "  Reason: the MOF declares no class Fake\\x1B[2J\n"
              "  Try: 'wmihost classes' shows the classes\n");
}

TEST_F(CommandLineTest, AMofThatIsNotThereIsMissed)
{
    std::filesystem::remove(mof);
    EXPECT_EQ(run({"list"}), 1);
    EXPECT_EQ(
        error,
        "wmihost list: the MOF cannot be read\n  " + mof.string() +
            ": the file cannot be opened\n"
            "  Try: --mof FILE names another MOF; the product's own, ZerixDRAVEv2.mof, lies beside the program\n");
}

// The impersonation level of the client, as the provider reads it.
std::string levelOfTheClient()
{
    EXPECT_EQ(CoImpersonateClient(), S_OK);
    HANDLE token = nullptr;
    std::string level;
    if (OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token) == 0) {
        level = GetLastError() == ERROR_NO_TOKEN ? "none" : "anonymous";
    } else {
        SECURITY_IMPERSONATION_LEVEL found = SecurityAnonymous;
        DWORD size = 0;
        EXPECT_NE(GetTokenInformation(token, TokenImpersonationLevel, &found, sizeof(found), &size), 0);
        CloseHandle(token);
        level = found == SecurityIdentification  ? "identify"
                : found == SecurityImpersonation ? "impersonate"
                : found == SecurityDelegation    ? "delegate"
                                                 : "another level";
    }
    CoRevertToSelf();
    return level;
}

TEST_F(CommandLineTest, EachProviderCommand_takesAnImpersonationLevel)
{
    addToMof(
        "instance of __InstanceProviderRegistration { Provider = \"__Win32Provider.Name=\\\"FakeProvider\\\"\"; "
        "SupportsGet = TRUE; SupportsPut = TRUE; SupportsEnumeration = TRUE; SupportsDelete = TRUE; };\n");
    std::vector<std::string> levels;
    behaviour.enumerate = [&levels](IWbemServices& ns, std::wstring_view, IWbemContext*, IWbemObjectSink* sink) {
        levels.push_back(levelOfTheClient());
        deliver(ns, sink, L"one", 2);
        return finish(sink);
    };
    behaviour.get = [&levels](IWbemServices& ns, std::wstring_view, IWbemObjectSink* sink) {
        levels.push_back(levelOfTheClient());
        deliver(ns, sink, L"one", 2);
        return finish(sink);
    };
    behaviour.put = [&levels](IWbemClassObject*, LONG, IWbemObjectSink* sink) {
        levels.push_back(levelOfTheClient());
        return finish(sink);
    };
    behaviour.remove = [&levels](std::wstring_view, IWbemObjectSink* sink) {
        levels.push_back(levelOfTheClient());
        return finish(sink);
    };
    behaviour.execMethod = [&levels](IWbemServices& ns, std::wstring_view, IWbemClassObject*, IWbemObjectSink* sink) {
        levels.push_back(levelOfTheClient());
        deliver(sink, spawnOutputs(ns, L"Fake_Thing", L"Rest"));
        return finish(sink);
    };
    struct Asked
    {
        std::vector<std::string> command;
        std::size_t requests;
    };
    const std::string path = "Fake_Thing=\"one\"";
    for (const Asked& asked :
         {Asked{{"list", "Fake_Thing"}, 1}, Asked{{"get", path}, 1}, Asked{{"get", path, "--threads", "2"}, 2},
          Asked{{"set", path, "Count=7"}, 3}, Asked{{"delete", path}, 1}, Asked{{"invoke", path, "Rest"}, 1},
          Asked{{"watch", "Fake_Thing", "--count", "1", "--interval", "10"}, 2}})
    {
        for (const auto* level : {"none", "anonymous", "identify", "impersonate", "delegate"}) {
            levels.clear();
            std::vector<std::string> command = asked.command;
            command.insert(command.end(), {"--impersonation", level});
            EXPECT_EQ(run(command), 0) << command.front() << ": " << error;
            EXPECT_EQ(levels, std::vector<std::string>(asked.requests, level)) << command.front();
        }
        levels.clear();
        EXPECT_EQ(run(asked.command), 0);
        EXPECT_EQ(levels, std::vector<std::string>(asked.requests, "impersonate")) << asked.command.front();
    }
}

TEST_F(CommandLineTest, AMofWithAMistakeIsShownWithItsPlace)
{
    std::ofstream(mof) << "class {";
    EXPECT_EQ(run({"classes"}), 1);
    EXPECT_EQ(
        error,
        "wmihost classes: the MOF cannot be read\n  " + mof.string() +
            ":1:7: expected the name of a class\n"
            "  Try: --mof FILE names another MOF; the product's own, ZerixDRAVEv2.mof, lies beside the program\n");
}

}  // namespace
}  // namespace wmihost
