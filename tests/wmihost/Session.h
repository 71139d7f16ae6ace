#pragma once

#include <functional>
#include <string>
#include <vector>

namespace wmihost {

// What a command answered.
struct Answer
{
    int exitCode = 0;
    std::string out;
    std::string error;
    std::vector<std::string> requests;
};

// Runs the commands of a session file and expects that it holds exactly what they answer. ZERIX_ACCEPT_BASELINES=1
// writes the answers into the file. The path is relative to this folder. The lines of such a file:
//
//   # The rule that the next command shows.
//   $ wmihost list Fake_Thing --property Name
//   | a line of standard output, where \r is a carriage return
//   ! a line of standard error
//   > a request that the provider, or the machine's WMI, received
//   = the exit code, unless it is 0
//
// A command may begin with COLUMNS=60, the width of the line. The name of this machine is written MACHINE.
void expectSession(const std::string& file, const std::function<Answer(const std::vector<std::string>&)>& run);

}  // namespace wmihost
