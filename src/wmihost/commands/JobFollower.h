#pragma once

#include "wmihost/commands/Commands.h"

namespace wmihost {

// Waits for a job to end: a bar on standard error if that is a terminal, else a line for each change. The job's last
// state is written beside the result. Returns the exit code: 0 if the job completed, 1 if it did not, and 130 after
// Ctrl+C, with what becomes of the job on standard error. Throws RequestError, also when the job disappears.
int followJob(Connection& connection, const InstanceTarget& job, const CommandOptions& options);

}  // namespace wmihost
