#include "wmihost/commandline/CommandLine.h"

#include <cstddef>
#include <filesystem>
#include <regex>
#include <sstream>

#include "tests/wmihost/CommandTest.h"
#include "wmihost/terminal/Lines.h"

namespace wmihost {
namespace {

using CommandLineTest = CommandTest;

TEST_F(CommandLineTest, ExceptionOfTheProvider_isShown)
{
    behaviour.enumerate = [](IWbemServices&, std::wstring_view, IWbemContext*, IWbemObjectSink*) -> HRESULT {
        throw std::runtime_error("lost");
    };
    expectSession("commandline/exception.session");
}

TEST_F(CommandLineTest, WrongUsage_isExplainedWithAnExample)
{
    expectSession("commandline/wrong-usage.session");
}

TEST_F(CommandLineTest, Refusal_saysReasonAndRemedy)
{
    expectSession("commandline/refusals.session");
    EXPECT_FALSE(std::filesystem::exists("zerix.prom")) << "metrics that are refused write no file";
}

TEST_F(CommandLineTest, Help_showsWhatEachCommandTakes)
{
    expectSession("commandline/help.session");
}

TEST_F(CommandLineTest, Options_standInTheirForms)
{
    expectSession("commandline/options.session");
}

TEST_F(CommandLineTest, Version_isThatOfTheProduct)
{
    for (const auto* option : {"--version", "-V"}) {
        EXPECT_EQ(run({option}), 0);
        EXPECT_TRUE(std::regex_match(out, std::regex("wmihost [0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+\n"))) << out;
        EXPECT_EQ(error, "");
    }
}

TEST_F(CommandLineTest, Help_fitsTheLine)
{
    for (const std::size_t width : {40U, 80U, 200U}) {
        _putenv(("COLUMNS=" + std::to_string(width)).c_str());
        for (const auto* const command : {"classes", "describe", "list", "get", "query", "related", "set", "delete",
                                          "invoke", "watch", "metrics", "self-test", "shell", "completion"})
        {
            EXPECT_EQ(run({command, "--help"}), 0);
            std::istringstream lines(out);
            for (std::string line; std::getline(lines, line);) {
                // Examples are not wrapped, so that users can copy them.
                EXPECT_TRUE(lengthOf(line) <= width || line.starts_with("  wmihost ")) << command << ": " << line;
            }
        }
    }
    _putenv("COLUMNS=");
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

TEST_F(CommandLineTest, Mof_thatCannotBeRead_isReported)
{
    const auto refusal = [this](const std::string& reason) {
        return "wmihost classes: the MOF cannot be read\n  " + mof.string() + reason +
               "\n  Try: --mof FILE names another MOF; the product's own, ZerixDRAVEv2.mof, lies beside the program\n";
    };
    std::ofstream(mof) << "class {";
    EXPECT_EQ(run({"classes"}), 1);
    EXPECT_EQ(error, refusal(":1:7: expected the name of a class"));
    std::filesystem::remove(mof);
    EXPECT_EQ(run({"classes"}), 1);
    EXPECT_EQ(error, refusal(": the file cannot be opened"));
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
    addToMof(R"(
instance of __InstanceProviderRegistration
{
    Provider = "__Win32Provider.Name=\"FakeProvider\"";
    SupportsGet = TRUE; SupportsPut = TRUE; SupportsEnumeration = TRUE; SupportsDelete = TRUE;
};
[dynamic, provider("FakeProvider")] class Zerix_EthernetPort { [key] string DeviceID; };
[dynamic, provider("FakeProvider")] class Zerix_EthernetPortStatistics { [key] string InstanceID; };
[dynamic, provider("FakeProvider")] class Zerix_IPProtocolEndpoint { [key] string Name; };
[dynamic, provider("FakeProvider")] class Zerix_ConcreteJob { [key] string InstanceID; };
[dynamic, provider("FakeProvider")] class Zerix_DiagnosticSetting { [key] string InstanceID; };
)");
    std::vector<std::string> levels;
    behaviour.onRequest = [&levels] { levels.push_back(levelOfTheClient()); };
    behaviour.enumerate = [things = behaviour.enumerate](IWbemServices& ns, std::wstring_view name,
                                                         IWbemContext* context, IWbemObjectSink* sink) {
        return name == L"Fake_Thing" ? things(ns, name, context, sink) : finish(sink);
    };
    behaviour.put = [](IWbemClassObject*, LONG, IWbemObjectSink* sink) { return finish(sink); };
    behaviour.remove = [](std::wstring_view, IWbemObjectSink* sink) { return finish(sink); };
    behaviour.execMethod = [](IWbemServices& ns, std::wstring_view, IWbemClassObject*, IWbemObjectSink* sink) {
        deliver(sink, spawnOutputs(ns, L"Fake_Thing", L"Rest"));
        return finish(sink);
    };
    struct Asked
    {
        std::vector<std::string> command;
        std::size_t requests;
        int exitCode = 0;
    };
    const std::string path = "Fake_Thing=\"one\"";
    // The fake provider serves no adapter, so the self-test exits with 1.
    for (const Asked& asked :
         {Asked{{"list", "Fake_Thing"}, 1}, Asked{{"get", path}, 1}, Asked{{"get", path, "--threads", "2"}, 2},
          Asked{{"query", "SELECT * FROM Fake_Thing"}, 1}, Asked{{"related", path}, 1},
          Asked{{"set", path, "Count=3"}, 3}, Asked{{"delete", path}, 1}, Asked{{"invoke", path, "Rest"}, 1},
          Asked{{"watch", "Fake_Thing", "--count", "1", "--interval", "10"}, 2}, Asked{{"metrics"}, 4},
          Asked{{"self-test"}, 2, 1}})
    {
        for (const std::string level : {"none", "anonymous", "identify", "impersonate", "delegate", ""}) {
            levels.clear();
            std::vector<std::string> command = asked.command;
            if (!level.empty()) {
                command.insert(command.end(), {"--impersonation", level});
            }
            EXPECT_EQ(run(command), asked.exitCode) << command.front() << ": " << error;
            EXPECT_EQ(levels, std::vector<std::string>(asked.requests, level.empty() ? "impersonate" : level))
                << command.front();
        }
    }
}

}  // namespace
}  // namespace wmihost
