#pragma once

#include <ostream>
#include <string>

namespace wmihost {

// A row of a table of tests: its name, a text, and the expected result.
struct TextRow
{
    const char* name;
    const char* given;
    const char* expected;
};

inline void PrintTo(const TextRow& row, std::ostream* stream)
{
    *stream << row.given;
}

// Names each test of a table after its row.
inline constexpr auto rowName = [](const auto& row) { return std::string(row.param.name); };

}  // namespace wmihost
