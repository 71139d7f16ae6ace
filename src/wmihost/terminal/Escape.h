#pragma once

#include <string>
#include <string_view>

namespace wmihost {

// What steers a terminal in place of being shown: control characters (C0, DEL, C1), line and paragraph separators, and
// the marks that change the direction of writing.

// UTF-8 for one line of a terminal: "\n", "\t", "\r", "\x1B" or "\u202E" in place of each such character.
std::string visible(std::string_view text);

// The same for several lines: ends of lines stay.
std::string visibleLines(std::string_view text);

// Text of a language that escapes characters by four hexadecimal digits behind `prefix` (JSON "\u", MOF "\x"): escapes
// each such character, ends of lines apart. The text means the same to who reads that language.
std::string withEscapes(std::string_view text, std::string_view prefix);

}  // namespace wmihost
