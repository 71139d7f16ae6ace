#include "wmihost/commands/Report.h"

#include "wmihost/terminal/Console.h"

namespace wmihost {

void writeHint(const CommandOptions& options, std::string_view text)
{
    if (!options.quiet) {
        writeError(text);
    }
}

void writeRemark(const CommandOptions& options, std::string_view text)
{
    if (options.format == Format::TABLE) {
        writeOut(text);
    } else {
        writeHint(options, text);
    }
}

}  // namespace wmihost
