#pragma once

#include <functional>
#include <vector>

namespace bench {

// A piece of work that requests do, on the model that both DLLs share. A case whose name ends in "Floor" does only the
// part of that case that no implementation could leave out.
struct Case
{
    const char* name;
    // Returns the work, which owns everything that it works on. The work may be run any number of times.
    std::function<std::function<void()>()> prepare;
};

const std::vector<Case>& cases();

}  // namespace bench
