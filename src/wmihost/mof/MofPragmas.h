#pragma once

#include "wmihost/mof/MofContext.h"

namespace wmihost::mof {

// Executes a pragma other than #pragma include. Ignores unknown pragmas, as MOF requires. Throws MofError.
void runPragma(Context& context, const Node& node);

}  // namespace wmihost::mof
