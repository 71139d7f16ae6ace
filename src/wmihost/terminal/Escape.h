#pragma once

#include <string>
#include <string_view>

namespace wmihost {

// In this file, control characters are those that terminals do not show but obey: C0, DEL and C1, line and paragraph
// separators, and the marks that change the direction of writing.

// UTF-8 for one line of a terminal: "\n", "\t", "\r", "\x1B" or "\u202E" in place of each such character.
std::string visible(std::string_view text);

// The same for several lines; line breaks stay.
std::string visibleLines(std::string_view text);

// Escapes control characters except line breaks in a text of a language that spells a character by `prefix` and four
// hexadecimal digits (JSON "\u", MOF "\x"). The result has the same meaning in that language.
std::string withEscapes(std::string_view text, std::string_view prefix);

}  // namespace wmihost
