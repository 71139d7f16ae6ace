#include "tests/wmihost/Session.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <sstream>

#include "support/Baseline.h"
#include "wmihost/commands/Shell.h"
#include "wmihost/repository/ObjectPath.h"
#include "wmihost/terminal/Text.h"

namespace wmihost {
namespace {

void append(std::vector<std::string>& lines, const std::string& prefix, const std::string& text)
{
    static const std::regex machine("(\\\\\\\\|this is )" + toUtf8(serverName()));
    std::istringstream stream(std::regex_replace(text, machine, "$1MACHINE"));
    for (std::string line; std::getline(stream, line);) {
        if (line.ends_with('\r')) {
            line.replace(line.size() - 1, 1, "\\r");
        }
        lines.push_back(line.empty() ? prefix : prefix + " " + line);
    }
    if (!text.empty() && !text.ends_with('\n')) {
        lines.push_back(prefix + " (no end of line)");
    }
}

Answer answerTo(const std::string& command, const std::function<Answer(const std::vector<std::string>&)>& run)
{
    std::vector<std::string> words = splitWords(command);
    const bool hasWidth = words.front().starts_with("COLUMNS=");
    if (hasWidth) {
        _putenv(words.front().c_str());
        words.erase(words.begin());
    }
    words.erase(words.begin());
    Answer answer = run(words);
    _putenv("COLUMNS=");
    return answer;
}

}  // namespace

void expectSession(const std::string& file, const std::function<Answer(const std::vector<std::string>&)>& run)
{
    const std::string path = ZERIX_WMIHOST_TESTS "/" + file;
    std::vector<std::string> lines;
    bool hasCommands = false;
    for (const std::string& line : support::readBaseline(path)) {
        if (line.find_first_of("|!>=") == 0) {
            continue;
        }
        lines.push_back(line);
        if (line.starts_with("$ ")) {
            hasCommands = true;
            const Answer answer = answerTo(line.substr(2), run);
            append(lines, "|", answer.out);
            append(lines, "!", answer.error);
            for (const std::string& request : answer.requests) {
                append(lines, ">", request + "\n");
            }
            if (answer.exitCode != 0) {
                lines.push_back("= " + std::to_string(answer.exitCode));
            }
        }
    }
    ASSERT_TRUE(hasCommands) << path;
    support::expectBaseline(path, lines);
}

}  // namespace wmihost
