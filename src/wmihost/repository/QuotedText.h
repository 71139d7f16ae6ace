#pragma once

#include <string>
#include <string_view>

// Texts between quotes, as paths and queries write them: a backslash protects a quote or another backslash, and stands
// for itself before anything else.

namespace wmihost {

// The text between double quotes, with the backslashes that it needs.
std::wstring quotedText(std::wstring_view text);

// What stands between the quotes, in UTF-8, without the backslashes that protect something.
std::wstring unescapedText(std::string_view text);

}  // namespace wmihost
