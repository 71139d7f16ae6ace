#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace wmihost {

// UTF-8 to UTF-16; invalid bytes become U+FFFD.
std::wstring toWide(std::string_view text);

// UTF-16 to UTF-8; a lone surrogate becomes U+FFFD.
std::string toUtf8(std::wstring_view text);

// Whether two names are the same to WMI, which ignores their case.
bool sameName(std::wstring_view left, std::wstring_view right);

// The key of a name in tables. It is the same for all names that sameName calls equal.
std::wstring foldName(std::wstring_view name);

// The order of names without case, for sorted output.
bool nameBefore(std::wstring_view left, std::wstring_view right);

// The number that a text spells in decimal (or hexadecimal after 0x), with an optional sign. Nothing if the text has
// another form or the number does not fit.
std::optional<unsigned long long> parseUnsigned(std::wstring_view text);
std::optional<long long> parseSigned(std::wstring_view text);

}  // namespace wmihost
