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

// The reader of standard output has closed the pipe, so nothing is left to do.
class OutputClosed : public std::runtime_error
{
public:
    OutputClosed() : std::runtime_error("nobody reads the output any more") {}
};

// Writes UTF-8 to standard output, also to a terminal with another code page. A terminal gets no control characters
// except line breaks; a file or a pipe gets the bytes unchanged. Throws OutputError and OutputClosed.
void writeOut(std::string_view text);

// Writes UTF-8 to standard error, without control characters. A failure is ignored, since nothing is left to report it
// to.
void writeError(std::string_view text);

// Writes a text over the line of standard error that the cursor is in.
void writeStatus(std::string_view text);

// The next line of standard input in UTF-8, without its line break. Nothing at the end of the input. A terminal shows
// the prompt first. A line that Ctrl+C cancelled is empty.
std::optional<std::string> readLine(std::string_view prompt);

bool outIsTerminal();
bool errorIsTerminal();

// The width in characters of the terminal behind standard output, or the value of COLUMNS. Nothing if lines may have
// any length.
std::optional<std::size_t> lineWidth();

// The height in lines of the terminal behind standard output, or the value of LINES. Nothing if it is not a terminal.
std::optional<std::size_t> screenHeight();

// Clears the last lines of the terminal behind standard output, including the cursor's line, and moves the cursor to
// the beginning of the first of them, so that the next text replaces them. Does nothing if standard output is not a
// terminal. Uses the platform's calls, since its terminals only accept escape sequences in a special mode.
void eraseLines(std::size_t count);

}  // namespace wmihost
