#pragma once

#include <functional>
#include <vector>

namespace bench {

// Something that requests do, on the model that both DLLs share. A case whose name ends in "Floor" makes, of the case
// of that name, what no implementation could leave out.
struct Case
{
    const char* name;
    // Makes the work, with everything that it works on. The work may be done any number of times.
    std::function<std::function<void()>()> prepare;
};

const std::vector<Case>& cases();

}  // namespace bench
