#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace broker {

// Named texts in one text, such as "JobState=7;Owner=HOST\admin". In a field's text a percent sign, a semicolon and
// every byte that is no printable ASCII character stand as %XX, so that the whole survives any code page.

// The names must be plain words.
std::string joinFields(const std::vector<std::pair<std::string, std::string>>& fields);

// Empty when the text has another form or one name twice.
std::optional<std::map<std::string, std::string>> splitFields(const std::string& text);

// The number whose decimal digits the text is, alone; empty for any other text and beyond 64 bits.
std::optional<std::uint64_t> numberIn(const std::string& text);

}  // namespace broker
