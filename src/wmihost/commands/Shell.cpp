#include "wmihost/commands/Shell.h"

#include <cstddef>
#include <optional>

#include "wmihost/commands/Commands.h"
#include "wmihost/terminal/Console.h"
#include "wmihost/terminal/Interrupt.h"

namespace wmihost {
namespace {

// The text between the quotes at that place. Moves the place behind them.
std::string quotedPart(std::string_view line, std::size_t& at)
{
    const char quote = line[at++];
    std::string text;
    for (; at < line.size() && line[at] != quote; ++at) {
        const bool escapes =
            quote == '"' && line[at] == '\\' && at + 1 < line.size() && (line[at + 1] == '"' || line[at + 1] == '\\');
        at += escapes ? 1 : 0;
        text += line[at];
    }
    if (at == line.size()) {
        throw UsageError(std::string("the quote ") + quote + " has no end");
    }
    ++at;
    return text;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

// A line that was copied from a document may begin with the name of the program.
void dropProgramName(std::vector<std::string>& words)
{
    if (!words.empty() && words.front() == "wmihost") {
        words.erase(words.begin());
    }
}

int runLine(const std::string& line, const std::function<int(const std::vector<std::string>&)>& runCommand)
{
    std::vector<std::string> words;
    try {
        words = splitWords(line);
    } catch (const UsageError& error) {
        writeError(std::string("wmihost: ") + error.what() + "\n");
        return 2;
    }
    dropProgramName(words);
    return runCommand(words);
}

}  // namespace

std::vector<std::string> splitWords(std::string_view line)
{
    std::vector<std::string> words;
    std::optional<std::string> word;
    for (std::size_t at = 0; at < line.size();) {
        if (line[at] == '\'' || line[at] == '"') {
            word = word.value_or("") + quotedPart(line, at);
        } else if (isBlank(line[at])) {
            if (word) {
                words.push_back(*word);
                word.reset();
            }
            ++at;
        } else {
            word = word.value_or("") + line[at++];
        }
    }
    if (word) {
        words.push_back(*word);
    }
    return words;
}

int runShell(const std::function<int(const std::vector<std::string>&)>& runCommand)
{
    int last = 0;
    while (true) {
        // Ctrl+C ends the line or the command, but neither the shell nor the jobs in it.
        const InterruptGuard guard;
        const auto line = readLine("wmihost> ");
        if (!line) {
            break;
        }
        const std::size_t begin = line->find_first_not_of(" \t\r");
        const std::string text = begin == std::string::npos ? "" : line->substr(begin);
        if (text == "exit" || text == "quit") {
            break;
        }
        if (!text.empty() && text.front() != '#') {
            last = runLine(text, runCommand);
        }
    }
    return last;
}

}  // namespace wmihost
