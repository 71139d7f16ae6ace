#pragma once

#include <string>

// Platform boundary: where log lines go.
// CONTRACT for all of them: never throws, reports no failure to the caller, safe from any thread.
namespace utils {

// Reports one error event whose single string is the whole line.
void reportEvent(const std::string& line) noexcept;

// Hands the text to an attached debugger.
void writeDebugger(const char* text) noexcept;

// Writes the line to standard error. The line itself is the format, with no arguments: a '%' in a message is
// interpreted a second time on this sink. Support tools rely on what that prints, so it stays.
void writeStandardError(const char* line) noexcept;

}  // namespace utils
