#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace wmihost {

// Writes UTF-8 to standard output or standard error, whatever the code page of a terminal behind it.
void writeOut(std::string_view text);
void writeError(std::string_view text);

bool outIsTerminal();
bool errorIsTerminal();

// The characters in a line of the terminal behind standard output, or what COLUMNS says; nothing where a line
// may be of any length.
std::optional<std::size_t> lineWidth();

// Clears the last lines of the terminal behind standard output, down to the line of its cursor, and moves the cursor to
// the beginning of the first of them: what is written next takes their place. Nothing happens where standard output is
// no terminal. By the platform's calls: its terminals take escape sequences only where they are told to.
void eraseLines(std::size_t count);

}  // namespace wmihost
