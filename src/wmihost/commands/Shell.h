#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace wmihost {

// The words of a line as sh splits it: blanks separate, what stands in single quotes stays as it is, and in double
// quotes a backslash makes a quote or a backslash plain. Outside of quotes a backslash is plain, as paths have many.
// Throws UsageError for a quote without its end.
std::vector<std::string> splitWords(std::string_view line);

// Reads lines from standard input and runs each as a command line, until their end or the word exit. Returns the exit
// code of the last one.
int runShell(const std::function<int(const std::vector<std::string>&)>& runCommand);

}  // namespace wmihost
