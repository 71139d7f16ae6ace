#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace wmihost {

// Standard output could not be written; what() says why, in UTF-8.
class OutputError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Whoever read standard output has closed the pipe: nothing is left to be done.
class OutputClosed : public std::runtime_error
{
public:
    OutputClosed() : std::runtime_error("nobody reads the output any more") {}
};

// Writes UTF-8 to standard output, also to a terminal with another code page. A terminal gets no character that would
// steer it, ends of lines apart; a file or a pipe gets the bytes as they are. Throws OutputError and OutputClosed.
void writeOut(std::string_view text);

// Writes UTF-8 to standard error, without characters that would steer a terminal. A failure is ignored: there is no
// place left that could report it.
void writeError(std::string_view text);

// Writes a text over the line of standard error that the cursor is in.
void writeStatus(std::string_view text);

// The next line of standard input in UTF-8, without its end; none where the input has ended. A terminal shows the
// prompt first; a line that Ctrl+C took away is empty.
std::optional<std::string> readLine(std::string_view prompt);

bool outIsTerminal();
bool errorIsTerminal();

// The characters in a line of the terminal behind standard output, or what COLUMNS says; nothing where a line
// may be of any length.
std::optional<std::size_t> lineWidth();

// The lines that the terminal behind standard output shows at once, or what LINES says; nothing elsewhere.
std::optional<std::size_t> screenHeight();

// Clears the last lines of the terminal behind standard output, down to the line of its cursor, and moves the cursor to
// the beginning of the first of them: what is written next takes their place. Nothing happens where standard output is
// no terminal. By the platform's calls: its terminals take escape sequences only where they are told to.
void eraseLines(std::size_t count);

}  // namespace wmihost
