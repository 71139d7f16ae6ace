#pragma once

#include "wmihost/mof/MofContext.h"

namespace wmihost::mof {

// Does what a pragma says, apart from #pragma include. A pragma that this compiler has no use for is skipped, as MOF
// demands. Throws MofError.
void runPragma(Context& context, const Node& node);

}  // namespace wmihost::mof
