#include "wmihost/commandline/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>

#include "wmihost/com/StatusText.h"
#include "wmihost/commandline/Completion.h"
#include "wmihost/commandline/Help.h"
#include "wmihost/commands/Commands.h"
#include "wmihost/commands/Shell.h"
#include "wmihost/mof/MofCompiler.h"
#include "wmihost/session/ServiceConnection.h"
#include "wmihost/session/Workspace.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Escape.h"
#include "wmihost/terminal/Suggestion.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

constexpr int REQUEST_FAILED = 1;
constexpr int WRONG_USAGE = 2;

// The installer puts the MOF into the program's folder.
std::filesystem::path defaultMof()
{
    std::array<wchar_t, MAX_PATH> buffer{};
    const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    return std::filesystem::path(std::wstring(buffer.data(), length)).parent_path() / L"ZerixDRAVEv2.mof";
}

Assignment assignmentOf(const std::string& text)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw UsageError("'" + text + "' is not of the form NAME=VALUE");
    }
    return {toWide(text.substr(0, equals)), toWide(text.substr(equals + 1))};
}

std::vector<Assignment> assignmentsOf(const std::vector<std::string>& texts)
{
    std::vector<Assignment> result;
    for (const std::string& text : texts) {
        result.push_back(assignmentOf(text));
    }
    return result;
}

// Accepts whole numbers of that range, and shows the range in the help.
CLI::Validator between(int least, int most)
{
    const std::string range = std::to_string(least) + " to " + std::to_string(most);
    const auto check = [least, most, range](const std::string& text) {
        const auto number = parseSigned(toWide(text));
        return number && *number >= least && *number <= most ? std::string()
                                                             : "'" + text + "' is not a number from " + range;
    };
    return CLI::Validator(check, range);
}

// Accepts one of the words.
CLI::Validator oneOf(const std::vector<std::string>& words)
{
    const auto check = [words](const std::string& text) {
        return std::find(words.begin(), words.end(), text) != words.end()
                   ? std::string()
                   : "'" + text + "' is not one of " + CLI::detail::join(words, ", ");
    };
    return CLI::Validator(check, "");
}

// The values that CLI11 fills in from the command line, and the command that it chose.
class CommandLine
{
public:
    // With a connection, this is a line in a shell, which uses the same connection for all of its lines.
    explicit CommandLine(Connection* shell = nullptr) : m_shell(shell)
    {
        m_app.require_subcommand(0, 1);
        m_app.fallthrough();
        // A path may begin with slashes.
        m_app.allow_windows_style_options(false);
        m_app.formatter(helpFormatter());
        m_app.set_version_flag("-V,--version", "wmihost " ZERIX_VERSION, "show the version and exit");
        m_app.add_flag("-q,--quiet", m_options.quiet, "no hints and no progress on standard error");
        m_app.add_option("-m,--mof", m_mof, "the MOF file with the classes and the registration of their provider")
            ->type_name("FILE");
        m_app.add_option("-n,--namespace", m_nameSpace, "look for classes in this namespace only")->type_name("NAME");
        m_app.add_flag("-s,--service", m_service, "ask this machine's WMI in place of a provider in this process");
        m_app.add_flag("--synchronous", m_synchronous, "with --service: make synchronous calls only");
        addCommands();
    }

    // Throws OutputError and OutputClosed.
    int run(const std::vector<std::string>& arguments)
    {
        std::string asked = "wmihost";
        for (const std::string& argument : arguments) {
            asked += " " + visible(argument);
        }
        try {
            std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
            m_app.parse(std::move(reversed));
            return execute();
        } catch (const CLI::CallForVersion& version) {
            writeOut(version.what() + std::string("\n"));
            return 0;
        } catch (const CLI::CallForHelp&) {
            const auto chosen = m_app.get_subcommands();
            writeOut(chosen.empty() ? m_app.help() : chosen.front()->help(m_app.get_name()));
            return 0;
        } catch (const CLI::ExtrasError&) {
            return usage(unexpectedArgument());
        } catch (const CLI::ParseError& error) {
            return usage(error.what());
        } catch (const UsageError& error) {
            return usage(error.what());
        } catch (const PathError& error) {
            return usage(error.what());
        } catch (const wql::QueryError& error) {
            return usage(error.what());
        } catch (const MofError& error) {
            writeError(asked + ": the MOF cannot be read\n  " + error.what() +
                       "\n  Try: --mof FILE names another MOF; the product's own, ZerixDRAVEv2.mof, lies beside the "
                       "program\n");
            return REQUEST_FAILED;
        } catch (const RequestError& error) {
            return failure(asked, error);
        }
    }

private:
    using Command = std::function<int(Connection&, const CommandOptions&)>;

    int execute()
    {
        if (m_offline) {
            return m_offline();
        }
        if (m_shell != nullptr) {
            if (m_service || m_synchronous || !m_mof.empty()) {
                throw UsageError("the shell has its classes and its provider already; end it to choose others");
            }
            return m_command(*m_shell, options());
        }
        const ComApartment apartment;
        const auto connection = connect();
        return m_command(*connection, options());
    }

    std::unique_ptr<Connection> connect() const
    {
        if (!m_service) {
            if (m_synchronous) {
                throw UsageError("--synchronous is for the machine's WMI, and needs --service");
            }
            return std::make_unique<Workspace>(m_mof.empty() ? defaultMof() : std::filesystem::path(toWide(m_mof)));
        }
        if (!m_mof.empty()) {
            throw UsageError("--mof is for the provider in this process; with --service WMI has the classes");
        }
        if (m_options.impersonation == Impersonation::NONE) {
            throw UsageError("--impersonation none is for the provider in this process; WMI always knows its client");
        }
        // This may fail because another part of the process has called it before. Each request sets its own level.
        CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_IMPERSONATE,
                             nullptr, EOAC_NONE, nullptr);
        return std::make_unique<ServiceConnection>(
            m_synchronous ? ServiceCalls::SYNCHRONOUS : ServiceCalls::ASYNCHRONOUS, m_options.impersonation);
    }

    // Writes what is wrong with the command line, and the usage of the command or the program.
    int usage(const std::string& reason) const
    {
        const auto chosen = m_app.get_subcommands();
        if (chosen.empty()) {
            std::string names;
            for (const auto& [name, example] : m_examples) {
                names += (names.empty() ? "" : ", ") + name;
            }
            writeError("wmihost: " + reason + "\n  Commands: " + names + "\n  wmihost --help explains them\n");
            return WRONG_USAGE;
        }
        const std::string name = chosen.front()->get_name();
        const auto example = std::find_if(m_examples.begin(), m_examples.end(),
                                          [&name](const auto& entry) { return entry.first == name; });
        writeError("wmihost " + name + ": " + reason + "\n  Example: wmihost " + example->second + "\n  wmihost " +
                   name + " --help shows all that it takes\n");
        return WRONG_USAGE;
    }

    // The error message for the arguments that no option has taken.
    std::string unexpectedArgument() const
    {
        const std::vector<std::string> left = m_app.remaining(true);
        const auto option =
            std::find_if(left.begin(), left.end(), [](const std::string& text) { return text.starts_with("-"); });
        if (option != left.end()) {
            return "there is no option " + *option + " here" + suggestion(toWide(*option), knownOptions());
        }
        if (m_app.get_subcommands().empty()) {
            std::vector<std::wstring> commands;
            for (const auto& [name, example] : m_examples) {
                commands.push_back(toWide(name));
            }
            return "there is no command '" + left.front() + "'" + suggestion(toWide(left.front()), commands);
        }
        return "one argument too many: '" + left.front() + "'";
    }

    // The options of the program and of the command that was chosen.
    std::vector<std::wstring> knownOptions() const
    {
        std::vector<std::wstring> names;
        const auto add = [&names](const CLI::App& app) {
            for (const CLI::Option* option : app.get_options()) {
                for (const std::string& name : option->get_lnames()) {
                    names.push_back(L"--" + toWide(name));
                }
            }
        };
        for (const CLI::App* chosen : m_app.get_subcommands()) {
            add(*chosen);
        }
        add(m_app);
        return names;
    }

    static int failure(const std::string& asked, const RequestError& error)
    {
        const StatusInfo info = statusInfo(error.status());
        std::string text = asked + ": failed\n  " + statusText(error.status()) + "\n";
        if (*error.what() != '\0') {
            text += "  Reason: " + visible(error.what()) + "\n";
        }
        if (!info.remedy.empty()) {
            text += "  Try: " + std::string(info.remedy) + "\n";
        }
        writeError(text);
        return REQUEST_FAILED;
    }

    CommandOptions options() const
    {
        CommandOptions result = m_options;
        const auto chosen = m_app.get_subcommands();
        result.hasPropertyOption = !chosen.empty() && chosen.front()->get_option_no_throw("--property") != nullptr;
        result.jobsGoOn = m_service || m_shell != nullptr;
        result.nameSpace = toWide(m_nameSpace);
        result.output = toWide(m_output);
        for (const std::string& name : m_properties) {
            result.properties.push_back(toWide(name));
        }
        for (const std::string& condition : m_conditions) {
            result.conditions.push_back(wql::parseCondition(condition));
        }
        return result;
    }

    CLI::App* command(const std::string& name, const std::string& summary, const std::string& example, Command action)
    {
        CLI::App* sub = m_app.add_subcommand(name, summary);
        sub->footer("Example:\n  wmihost " + example + "\n");
        m_examples.emplace_back(name, example);
        sub->callback([this, action = std::move(action)] { m_command = action; });
        return sub;
    }

    // An option whose value is one of a few words.
    template <class Value>
    static void addChoice(CLI::App* sub, const std::string& name, Value& target,
                          const std::vector<std::pair<std::string, Value>>& choices, const std::string& summary)
    {
        std::vector<std::string> words;
        for (const auto& [choice, value] : choices) {
            words.push_back(choice);
        }
        const auto take = [&target, choices](const std::string& word) {
            const auto found = std::find_if(choices.begin(), choices.end(),
                                            [&word](const auto& choice) { return choice.first == word; });
            target = found->second;
        };
        sub->add_option_function<std::string>(name, take, summary)
            ->type_name(CLI::detail::join(words, "|"))
            ->check(oneOf(words));
    }

    // An option whose value is a number of the duration's unit.
    template <class Duration>
    static CLI::Option* addDuration(CLI::App* sub, const std::string& name, Duration& target,
                                    const std::string& summary)
    {
        return sub->add_option_function<unsigned>(
            name, [&target](unsigned count) { target = Duration(count); }, summary);
    }

    void addFormat(CLI::App* sub)
    {
        addChoice<Format>(
            sub, "-f,--format", m_options.format,
            {{"table", Format::TABLE}, {"json", Format::JSON}, {"mof", Format::MOF}, {"csv", Format::CSV}},
            "how the result is written");
    }

    void addDescribeFormat(CLI::App* sub)
    {
        addChoice<Format>(
            sub, "-f,--format", m_options.format,
            {{"table", Format::TABLE}, {"json", Format::JSON}, {"mof", Format::MOF}, {"markdown", Format::MARKDOWN}},
            "how the result is written");
    }

    void addImpersonation(CLI::App* sub)
    {
        addChoice<Impersonation>(sub, "--impersonation", m_options.impersonation,
                                 {{"none", Impersonation::NONE},
                                  {"anonymous", Impersonation::ANONYMOUS},
                                  {"identify", Impersonation::IDENTIFY},
                                  {"impersonate", Impersonation::IMPERSONATE},
                                  {"delegate", Impersonation::DELEGATE}},
                                 "how far the provider may act as the client; none: without a token");
    }

    void addProperties(CLI::App* sub)
    {
        sub->add_option("-p,--property", m_properties,
                        "show these properties; * and ? stand for letters of their names")
            ->delimiter(',')
            ->allow_extra_args(false)
            ->type_name("A,B");
    }

    void addConditions(CLI::App* sub)
    {
        sub->add_option("-w,--where", m_conditions,
                        "only instances that meet this condition of WQL: \"State=Enabled AND Name LIKE 'eth%'\"")
            ->type_name("CONDITION")
            ->allow_extra_args(false);
    }

    void addLoad(CLI::App* sub)
    {
        sub->add_option("-t,--threads", m_options.threads, "ask on N threads at once, and show a summary")
            ->type_name("N")
            ->check(between(1, 256));
        sub->add_option("-r,--repeat", m_options.repeat, "ask N times on each thread")
            ->type_name("N")
            ->check(between(1, 1000000));
    }

    void addPath(CLI::App* sub)
    {
        sub->add_option("path", m_path, "the instance: Class.Key=\"value\",Other=7")->type_name("")->required();
    }

    void addQueries()
    {
        CLI::App* query =
            command("query", "Answers a query in WQL",
                    R"(query "SELECT Name, Speed FROM Zerix_EthernetPort WHERE EnabledState = 2 AND Name LIKE 'eth%'")",
                    [this](Connection& c, const CommandOptions& o) { return runQuery(c, m_query, m_local, o); });
        query->add_option("query", m_query, "SELECT ..., ASSOCIATORS OF ... or REFERENCES OF ...")
            ->type_name("")
            ->required();
        CLI::App* related = command(
            "related", "Shows what is associated with an instance",
            R"(related "Zerix_EthernetPort.DeviceID='...',..." --where "ResultClass=Zerix_IPProtocolEndpoint")",
            [this](Connection& c, const CommandOptions& o) { return runRelated(c, m_path, m_related, m_local, o); });
        addPath(related);
        related->add_flag("--references", m_related.references, "show the associations, not what they lead to");
        related
            ->add_option("-w,--where", m_related.where,
                         "what stands behind WHERE in such a query: AssocClass=, ResultClass=, Role=, ClassDefsOnly")
            ->type_name("KEYWORDS");
        for (CLI::App* sub : {query, related}) {
            sub->add_flag("--local", m_local, "with --service: read the classes through WMI, and find the answer here");
            addFormat(sub);
            addImpersonation(sub);
        }
    }

    void addMetrics()
    {
        CLI::App* metrics = command("metrics", "Writes the adapters' counters and states for Prometheus",
                                    "metrics --output C:\\metrics\\zerix.prom --every 15",
                                    [](Connection& c, const CommandOptions& o) { return runMetrics(c, o); });
        CLI::Option* output =
            metrics->add_option("-o,--output", m_output, "replace this file, whose name ends in .prom, in one step")
                ->type_name("FILE");
        CLI::Option* every =
            addDuration(metrics, "-e,--every", m_options.every, "read again after SECONDS seconds, until interrupted")
                ->type_name("SECONDS")
                ->check(between(1, 86400))
                ->needs(output);
        metrics->add_option("-c,--count", m_options.count, "read N times, then end")
            ->type_name("N")
            ->check(between(1, 1000000))
            ->needs(every);
        addImpersonation(metrics);
    }

    void addCompletion()
    {
        CLI::App* completion =
            command("completion", "Writes a script that makes a shell complete commands, options and classes",
                    "completion powershell", {});
        completion->add_option("shell", m_shellName, "bash or powershell")
            ->type_name("")
            ->required()
            ->check(oneOf({"bash", "powershell"}));
        completion->callback([this] {
            m_offline = [this] {
                writeOut(m_shellName == "bash" ? bashCompletion(m_app) : powershellCompletion(m_app));
                return 0;
            };
        });
    }

    // In the order of the help.
    void addCommands()
    {
        addSchemaCommands();
        addReadingCommands();
        addQueries();
        addChangingCommands();
        addWatch();
        addMetrics();
        addProgramCommands();

        std::string footer = "Without a command, the network adapters are listed.\n\nExamples:\n";
        for (const auto& [name, example] : m_examples) {
            footer += "  wmihost " + example + "\n";
        }
        m_app.footer(footer);
        m_command = [](Connection& c, const CommandOptions& o) { return runList(c, {}, o); };
    }

    void addSchemaCommands()
    {
        CLI::App* classes = command("classes", "Lists the classes of the MOF", "classes",
                                    [](Connection& c, const CommandOptions& o) { return runClasses(c, o); });
        addFormat(classes);

        CLI::App* describe =
            command("describe", "Shows the properties and methods of a class, or of all", "describe Zerix_ConcreteJob",
                    [this](Connection& c, const CommandOptions& o) { return runDescribe(c, toWide(m_class), o); });
        describe->add_option("class", m_class, "the class; all classes if it is left out")->type_name("");
        addDescribeFormat(describe);
    }

    void addReadingCommands()
    {
        CLI::App* list =
            command("list", "Lists the instances of a class", "list Zerix_EthernetPort --where EnabledState=Enabled",
                    [this](Connection& c, const CommandOptions& o) { return runList(c, toWide(m_class), o); });
        list->add_option("class", m_class, "the class; without it, the network adapters")->type_name("");
        addFormat(list);
        addProperties(list);
        addConditions(list);
        addImpersonation(list);
        addLoad(list);

        CLI::App* get =
            command("get", "Shows an instance", "get 'Zerix_SoftwareIdentity.InstanceID=\"...\"' --format json",
                    [this](Connection& c, const CommandOptions& o) { return runGet(c, toWide(m_path), o); });
        addPath(get);
        addFormat(get);
        addProperties(get);
        addImpersonation(get);
        addLoad(get);
    }

    void addChangingCommands()
    {
        CLI::App* set = command("set", "Changes properties of an instance, and shows it",
                                "set 'Zerix_AdapterSetting.InstanceID=\"...\"' ElementName=Uplink Tag=null",
                                [this](Connection& c, const CommandOptions& o) {
                                    return runSet(c, toWide(m_path), assignmentsOf(m_assignments), o);
                                });
        addPath(set);
        set->add_option("value", m_assignments, "NAME=VALUE; null is no value; elements of an array: a,b")
            ->type_name("")
            ->required();
        addFormat(set);
        addImpersonation(set);

        CLI::App* remove =
            command("delete", "Deletes an instance", "delete 'Zerix_ConcreteJob.InstanceID=\"...\"'",
                    [this](Connection& c, const CommandOptions& o) { return runDelete(c, toWide(m_path), o); });
        addPath(remove);
        addImpersonation(remove);

        CLI::App* invoke =
            command("invoke", "Runs a method of an instance",
                    "invoke 'Zerix_EthernetPort.DeviceID=\"...\",...' RunLinkDiagnostic SampleCount=5 --wait",
                    [this](Connection& c, const CommandOptions& o) {
                        return runInvoke(c, toWide(m_path), toWide(m_method), assignmentsOf(m_assignments), o);
                    });
        addPath(invoke);
        invoke->add_option("method", m_method, "the method")->type_name("")->required();
        invoke->add_option("argument", m_assignments, "NAME=VALUE; an argument that is not named is null")
            ->type_name("");
        invoke->add_flag("-W,--wait", m_options.wait, "follow the job that the method starts until it ends");
        addFormat(invoke);
        addImpersonation(invoke);
    }

    void addWatch()
    {
        CLI::App* watch =
            command("watch", "Shows the rates of a class's counters", "watch Zerix_EthernetPortStatistics --count 10",
                    [this](Connection& c, const CommandOptions& o) { return runWatch(c, toWide(m_class), o); });
        watch->add_option("class", m_class, "the class")->type_name("")->required();
        watch->add_option("-c,--count", m_options.count, "show N tables, then end")
            ->type_name("N")
            ->check(between(1, 1000000));
        addDuration(watch, "-i,--interval", m_options.interval, "milliseconds from one table to the next")
            ->type_name("N")
            ->check(between(10, 3600000));
        addProperties(watch);
        addConditions(watch);
        addImpersonation(watch);
    }

    void addProgramCommands()
    {
        CLI::App* selfTest = command("self-test", "Makes a request of each kind, and gives each a verdict", "self-test",
                                     [](Connection& c, const CommandOptions& o) { return runSelfTest(c, o); });
        addImpersonation(selfTest);

        command("shell", "Reads commands from standard input, with one provider for all: jobs go on between them",
                "shell", [this](Connection& c, const CommandOptions&) {
                    return runShell([&c](const std::vector<std::string>& line) { return CommandLine(&c).run(line); });
                });
        addCompletion();
    }

    CLI::App m_app{"Plays WMI's provider host for one provider, and asks it like a client.", "wmihost"};
    Connection* m_shell;
    std::string m_mof;
    std::string m_nameSpace;
    std::string m_output;
    bool m_service = false;
    bool m_synchronous = false;
    std::string m_class;
    std::string m_path;
    std::string m_method;
    std::string m_shellName;
    std::string m_query;
    RelatedOptions m_related;
    bool m_local = false;
    std::vector<std::string> m_assignments;
    std::vector<std::string> m_properties;
    std::vector<std::string> m_conditions;
    std::vector<std::pair<std::string, std::string>> m_examples;  // by command, in the order of the help
    CommandOptions m_options;
    Command m_command;
    std::function<int()> m_offline;  // of a command that needs no connection
};

}  // namespace

int runCommandLine(const std::vector<std::string>& arguments)
{
    try {
        return CommandLine().run(arguments);
    } catch (const OutputClosed&) {
        return REQUEST_FAILED;
    } catch (const OutputError& error) {
        writeError("wmihost: " + std::string(error.what()) + "\n");
        return REQUEST_FAILED;
    }
}

}  // namespace wmihost
