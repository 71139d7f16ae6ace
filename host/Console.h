#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace host {

// Writes UTF-8 to standard output or standard error, whatever the code page of a terminal behind it.
void writeOut(std::string_view text);
void writeError(std::string_view text);

bool outIsTerminal();
bool errorIsTerminal();

// The characters in a line of the terminal behind standard output, or what COLUMNS says; nothing where a line
// may be of any length.
std::optional<std::size_t> lineWidth();

// The command that moves a terminal's cursor up that many lines to the first column, and clears what follows.
std::string_view clearBelow();
std::string cursorUp(std::size_t lines);

}  // namespace host
