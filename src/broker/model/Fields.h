#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace broker {

// Named texts in one text, such as "JobState=7;Owner=HOST\admin". In a field's text, %XX replaces percent signs,
// semicolons and all bytes other than printable ASCII characters, so that the result survives any code page.

// The names must be plain words.
std::string joinFields(const std::vector<std::pair<std::string, std::string>>& fields);

// Empty if the text has another form or contains a name twice.
std::optional<std::map<std::string, std::string>> splitFields(const std::string& text);

// The number that the text spells in decimal digits; empty if the text contains anything else or exceeds 64 bits.
std::optional<std::uint64_t> numberIn(const std::string& text);

}  // namespace broker
