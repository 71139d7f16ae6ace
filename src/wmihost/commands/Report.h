#pragma once

#include <string_view>

#include "wmihost/commands/Commands.h"

namespace wmihost {

// Hints and progress: on standard error, unless the user asked for quiet.
void writeHint(const CommandOptions& options, std::string_view text);

// A remark on the result: beside a table on standard output; on standard error where that holds data for programs.
void writeRemark(const CommandOptions& options, std::string_view text);

}  // namespace wmihost
