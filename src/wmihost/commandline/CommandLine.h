#pragma once

#include <string>
#include <vector>

namespace wmihost {

// Runs the program with the arguments behind its name, in UTF-8. The result goes to standard output, all
// else to standard error. Returns the exit code: 0 for success, 1 for a request that failed, 2 for a command
// line that makes no sense.
int runCommandLine(const std::vector<std::string>& arguments);

}  // namespace wmihost
