#include "wmihost/commandline/Completion.h"

#include <algorithm>
#include <functional>
#include <sstream>
#include <vector>

namespace wmihost {
namespace {

using Words = std::vector<std::string>;

std::string joined(const Words& words, const std::string& separator)
{
    return CLI::detail::join(words, separator);
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& command)
{
    return command.get_options([](const CLI::Option* option) { return option->nonpositional(); });
}

Words namesOf(const CLI::Option& option)
{
    Words names;
    for (const std::string& name : option.get_snames()) {
        names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        names.push_back("--" + name);
    }
    return names;
}

// The long names of the command's options, and of those of the program.
Words optionNames(const CLI::App& command)
{
    Words names;
    for (const CLI::App* app : {&command, command.get_parent()}) {
        if (app == nullptr) {
            continue;
        }
        for (const CLI::Option* option : optionsOf(*app)) {
            for (const std::string& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

// The words of "table|json|mof"; none for an option that takes any value.
Words choicesOf(const CLI::Option& option)
{
    Words words;
    std::istringstream choices(option.get_type_name());
    for (std::string word; std::getline(choices, word, '|');) {
        words.push_back(word);
    }
    return words.size() > 1 ? words : Words();
}

bool takesClass(const CLI::App& command)
{
    return command.get_option_no_throw("class") != nullptr;
}

std::vector<const CLI::App*> commandsOf(const CLI::App& program)
{
    return program.get_subcommands([](const CLI::App*) { return true; });
}

Words commandNames(const CLI::App& program, const std::function<bool(const CLI::App&)>& isWanted)
{
    Words names;
    for (const CLI::App* command : commandsOf(program)) {
        if (isWanted(*command)) {
            names.push_back(command->get_name());
        }
    }
    return names;
}

bool any(const CLI::App&)
{
    return true;
}

// A line for each option with choices. `write` makes it from the command, the names of the option and its words.
std::string choiceLines(const CLI::App& program,
                        const std::function<std::string(const std::string&, const Words&, const Words&)>& write)
{
    std::string lines;
    for (const CLI::App* command : commandsOf(program)) {
        for (const CLI::Option* option : optionsOf(*command)) {
            const Words choices = choicesOf(*option);
            lines += choices.empty() ? "" : write(command->get_name(), namesOf(*option), choices);
        }
    }
    return lines;
}

std::string bashChoices(const std::string& command, const Words& names, const Words& choices)
{
    Words patterns;
    for (const std::string& name : names) {
        patterns.push_back(command + ":" + name);
    }
    return "        " + joined(patterns, " | ") + ") words='" + joined(choices, " ") + "' ;;\n";
}

std::string powershellChoices(const std::string& command, const Words& names, const Words& choices)
{
    std::string lines;
    for (const std::string& name : names) {
        lines += "        '" + command + " " + name + "' = '" + joined(choices, "', '") + "'\n";
    }
    return lines;
}

}  // namespace

std::string bashCompletion(const CLI::App& program)
{
    std::string options = "        :-*) words='" + joined(optionNames(program), " ") + "' ;;\n";
    for (const CLI::App* command : commandsOf(program)) {
        options += "        " + command->get_name() + ":-*) words='" + joined(optionNames(*command), " ") + "' ;;\n";
    }
    Words classPatterns;
    for (const std::string& name : commandNames(program, takesClass)) {
        classPatterns.push_back(name + ":*");
    }
    return "# Completion of wmihost for bash. In ~/.bashrc: eval \"$(wmihost completion bash)\", or source this file.\n"
           "_wmihost() {\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} command= words= word\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        case $word in\n"
           "        " +
           joined(commandNames(program, any), " | ") +
           ")\n"
           "            command=$word\n"
           "            break\n"
           "            ;;\n"
           "        esac\n"
           "    done\n"
           "    case $command:$previous in\n" +
           choiceLines(program, bashChoices) +
           "    esac\n"
           "    [ -n \"$words\" ] || case $command:$current in\n" +
           options + "        :*) words='" + joined(commandNames(program, any), " ") +
           "' ;;\n"
           "        " +
           joined(classPatterns, " | ") +
           ")\n"
           "            words=$(\"${COMP_WORDS[0]}\" classes --format csv 2>/dev/null | tail -n +2 | cut -d, -f1)\n"
           "            ;;\n"
           "    esac\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
           "}\n"
           "complete -o default -F _wmihost wmihost wmihost.exe\n";
}

std::string powershellCompletion(const CLI::App& program)
{
    std::string options = "        '' = '" + joined(optionNames(program), "', '") + "'\n";
    for (const CLI::App* command : commandsOf(program)) {
        options += "        '" + command->get_name() + "' = '" + joined(optionNames(*command), "', '") + "'\n";
    }
    return "# Completion of wmihost for PowerShell. In $PROFILE:\n"
           "#   wmihost completion powershell | Out-String | Invoke-Expression\n"
           "# or, where scripts may run, a dot, a blank and the path of this file.\n"
           "Register-ArgumentCompleter -Native -CommandName 'wmihost', 'wmihost.exe' -ScriptBlock {\n"
           "    param($wordToComplete, $commandAst, $cursorPosition)\n"
           "    $options = @{\n" +
           options +
           "    }\n"
           "    $choices = @{\n" +
           choiceLines(program, powershellChoices) +
           "    }\n"
           "    $withClass = '" +
           joined(commandNames(program, takesClass), "', '") +
           "'\n"
           "    $words = @($commandAst.CommandElements | ForEach-Object { $_.ToString() })\n"
           "    $before = @($words | Select-Object -Skip 1)\n"
           "    if ($wordToComplete) { $before = @($before | Select-Object -SkipLast 1) }\n"
           "    $command = [string]($before | Where-Object { $_ -and $options.ContainsKey($_) } | "
           "Select-Object -First 1)\n"
           "    $previous = [string]($before | Select-Object -Last 1)\n"
           "    $candidates =\n"
           "        if ($choices.ContainsKey(\"$command $previous\")) { $choices[\"$command $previous\"] }\n"
           "        elseif ($wordToComplete -like '-*') { $options[$command] }\n"
           "        elseif (-not $command) { $options.Keys | Where-Object { $_ } | Sort-Object }\n"
           "        elseif ($withClass -contains $command) {\n"
           "            & $words[0] classes --format csv | ConvertFrom-Csv | ForEach-Object { $_.Class }\n"
           "        }\n"
           "    $candidates | Where-Object { $_ -like \"$wordToComplete*\" } | ForEach-Object {\n"
           "        [System.Management.Automation.CompletionResult]::new($_, $_, 'ParameterValue', $_)\n"
           "    }\n"
           "}\n";
}

}  // namespace wmihost
