#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace broker {

// The GUIDs of the adapters whose drivers were installed as hidden, with braces and upper-case digits: components that
// the platform shows in no user interface. Empty where the platform keeps no list of drivers, as an emulated one may
// not, or the calling thread's identity may not read it; nothing is logged.
std::vector<std::string> hiddenAdapters();

inline bool contains(const std::vector<std::string>& guids, std::string_view guid) noexcept
{
    return std::find(guids.begin(), guids.end(), guid) != guids.end();
}

}  // namespace broker
