#pragma once

#include "wmihost/commands/Commands.h"

namespace wmihost {

// Waits for the end of a job. Progress goes to standard error: as a bar on a terminal, otherwise as a line for each
// change. The job's last state is a remark on the result. Returns the exit code: 0 if the job completed, 1 if it did
// not, and 130 after Ctrl+C, which also writes to standard error what happens to the job. Throws RequestError, also if
// the job disappears.
int followJob(Connection& connection, const InstanceTarget& job, const CommandOptions& options);

}  // namespace wmihost
