#pragma once

#include <string>
#include <vector>

namespace wmihost {

// Runs the program. The arguments, without the program's name, are in UTF-8. The result goes to standard output,
// everything else to standard error. Returns the exit code: 0 for success, 1 for a request that failed, 2 for an
// invalid command line.
int runCommandLine(const std::vector<std::string>& arguments);

}  // namespace wmihost
