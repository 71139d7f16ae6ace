#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace wmihost {

// Splits a line into words like sh: blanks separate words, text in single quotes is literal, and in double quotes a
// backslash escapes a quote or a backslash. Outside quotes a backslash is literal, since paths have many. Throws
// UsageError if a quote is not closed.
std::vector<std::string> splitWords(std::string_view line);

// Reads lines from standard input and runs each as a command line, until the end of the input or the word exit. Returns
// the exit code of the last line.
int runShell(const std::function<int(const std::vector<std::string>&)>& runCommand);

}  // namespace wmihost
