#pragma once

#include <string_view>

#include "wmihost/commands/Commands.h"

namespace wmihost {

// Writes a hint or progress to standard error, unless the user wants quiet.
void writeHint(const CommandOptions& options, std::string_view text);

// Writes a remark on the result: to standard output below a table, to standard error if the result is data for
// programs.
void writeRemark(const CommandOptions& options, std::string_view text);

}  // namespace wmihost
