#pragma once

#include "wmihost/commands/Commands.h"

namespace wmihost {

// Waits for a job to end: a bar on standard error if that is a terminal, else a line for each change. The
// job's last state is written to standard output. Returns whether the job completed. Throws RequestError,
// also when the job disappears.
bool followJob(Connection& connection, const InstanceTarget& job, const CommandOptions& options);

}  // namespace wmihost
