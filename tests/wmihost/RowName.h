#pragma once

#include <string>

namespace wmihost {

// Names each test of a table after its row.
inline constexpr auto rowName = [](const auto& row) { return std::string(row.param.name); };

}  // namespace wmihost
