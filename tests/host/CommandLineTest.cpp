#include "host/CommandLine.h"

#include <map>

#include "host/ObjectPath.h"
#include "host/Text.h"
#include "tests/host/CommandTest.h"

namespace host {
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
              "  Try: the provider's log at level 3 (VEXAL_DRAVEv2_LOG_LEVEL) says where\n");
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

struct WrongUsage
{
    const char* name;
    std::vector<std::string> arguments;
    const char* reason;  // with the command that it is about
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
    static const std::map<std::string, std::string> examples{
        {"",
         "  Commands: classes, describe, list, get, set, delete, invoke, watch, self-test\n"
         "  wmihost --help explains them\n"},
        {" classes", "  Example: wmihost classes\n  wmihost classes --help shows all that it takes\n"},
        {" list",
         "  Example: wmihost list Zerix_EthernetPort --where EnabledState=Enabled\n"
         "  wmihost list --help shows all that it takes\n"},
        {" get",
         "  Example: wmihost get 'Zerix_SoftwareIdentity.InstanceID=\"...\"' --format json\n"
         "  wmihost get --help shows all that it takes\n"},
        {" set",
         "  Example: wmihost set 'Zerix_AdapterSetting.InstanceID=\"...\"' ElementName=Uplink Tag=null\n"
         "  wmihost set --help shows all that it takes\n"},
        {" delete",
         "  Example: wmihost delete 'Zerix_ConcreteJob.InstanceID=\"...\"'\n"
         "  wmihost delete --help shows all that it takes\n"},
        {" invoke",
         "  Example: wmihost invoke 'Zerix_EthernetPort.DeviceID=\"...\",...' RunLinkDiagnostic SampleCount=5 "
         "--wait\n  wmihost invoke --help shows all that it takes\n"},
        {" watch",
         "  Example: wmihost watch Zerix_EthernetPortStatistics --count 10\n"
         "  wmihost watch --help shows all that it takes\n"},
    };
    const std::string reason = GetParam().reason;
    const std::string command = reason.substr(7, reason.find(':') - 7);
    EXPECT_EQ(run(GetParam().arguments), 2);
    EXPECT_EQ(error, reason + "\n" + examples.at(command));
    EXPECT_EQ(out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Table, WrongUsages,
    testing::Values(
        WrongUsage{"UnknownCommand", {"nonsense"}, "wmihost: there is no command 'nonsense'"},
        WrongUsage{"UnknownOptionOfTheProgram", {"--version"}, "wmihost: there is no option --version here"},
        WrongUsage{"UnknownOption", {"list", "Fake_Thing", "--bogus"}, "wmihost list: there is no option --bogus here"},
        WrongUsage{"OptionOfAnotherCommand",
                   {"classes", "--where", "a=b"},
                   "wmihost classes: there is no option --where here"},
        WrongUsage{"OneArgumentTooMany",
                   {"list", "Fake_Thing", "Fake_Stray"},
                   "wmihost list: one argument too many: 'Fake_Stray'"},
        WrongUsage{"NoClass", {"list"}, "wmihost list: class is required"},
        WrongUsage{"NoPath", {"get"}, "wmihost get: path is required"},
        WrongUsage{"NoPathToDelete", {"delete"}, "wmihost delete: path is required"},
        WrongUsage{"NoMethod", {"invoke", "Fake_Thing=\"one\""}, "wmihost invoke: method is required"},
        WrongUsage{"NoValues", {"set", "Fake_Thing=\"one\""}, "wmihost set: values is required"},
        WrongUsage{"UnknownFormat",
                   {"list", "Fake_Thing", "--format", "xml"},
                   "wmihost list: --format: 'xml' is none of table, json, mof, markdown"},
        WrongUsage{"NoFormat",
                   {"list", "Fake_Thing", "--format"},
                   "wmihost list: --format: 1 required table|json|mof|markdown missing"},
        WrongUsage{"MarkdownOfInstances",
                   {"list", "Fake_Thing", "--format", "markdown"},
                   "wmihost list: --format markdown is for describe"},
        WrongUsage{"UnknownLevel",
                   {"list", "Fake_Thing", "--impersonation", "root"},
                   "wmihost list: --impersonation: 'root' is none of none, anonymous, identify, impersonate, delegate"},
        WrongUsage{"NoThreads",
                   {"list", "Fake_Thing", "--threads", "0"},
                   "wmihost list: --threads: Value 0 not in range 1 to 256"},
        WrongUsage{"RepeatThatIsNoNumber",
                   {"get", "Fake_Thing=\"one\"", "--repeat", "often"},
                   "wmihost get: --repeat: Value often not in range 1 to 1000000"},
        WrongUsage{"CountThatIsNoNumber",
                   {"watch", "Fake_Thing", "--count", "x"},
                   "wmihost watch: --count: Value x not in range 1 to 1000000"},
        WrongUsage{"ClassWithoutCounters",
                   {"watch", "Fake_Orphan", "--count", "1"},
                   "wmihost watch: the class Fake_Orphan has no counters to watch among the properties"},
        WrongUsage{"ConditionWithoutValue",
                   {"list", "Fake_Thing", "--where", "Name"},
                   "wmihost list: 'Name' is not of the form NAME=VALUE"},
        WrongUsage{"AssignmentWithoutValue",
                   {"set", "Fake_Thing=\"one\"", "Count"},
                   "wmihost set: 'Count' is not of the form NAME=VALUE"},
        WrongUsage{"ValueOfAnotherType",
                   {"set", "Fake_Thing=\"one\"", "Count=many"},
                   "wmihost set: Count: 'many' is no uint16: a whole number from 0 to 65535"},
        WrongUsage{"BrokenPath",
                   {"get", "Fake_Thing."},
                   "wmihost get: 'Fake_Thing.' is no object path: expected the name of a key at character 12"}),
    [](const auto& row) { return std::string(row.param.name); });

struct Refusal
{
    const char* name;
    std::vector<std::string> arguments;
    const char* explanation;  // behind what was asked
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
                "  Reason: the MOF declares no class Fake_Nothing\n"
                "  Try: 'wmihost classes' shows the classes\n"},
        Refusal{"UnknownNamespace",
                {"list", "Fake_Thing", "--namespace", "root\\none"},
                "  WBEM_E_INVALID_NAMESPACE (0x8004100E): there is no such namespace\n"
                "  Reason: the MOF declares no namespace root\\none\n"
                "  Try: 'wmihost classes' shows the namespaces that the MOF declares\n"},
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
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(CommandLineTest, HelpShowsAnExampleForEachCommand)
{
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_NE(out.find("self-test"), std::string::npos);
    for (const auto* name : {"classes", "describe", "list", "get", "set", "delete", "invoke", "watch", "self-test"}) {
        EXPECT_EQ(run({name, "--help"}), 0);
        EXPECT_NE(out.find(std::string("Example:\n  wmihost ") + name), std::string::npos) << name;
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
}  // namespace host
