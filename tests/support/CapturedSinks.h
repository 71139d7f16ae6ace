#pragma once

#include <string>
#include <string_view>
#include <vector>

// Captures the lines for LogCapture: with import hooks on Windows, and natively with sinks that belong to the tests.
namespace support {

// From start to stop, keeps what the log sends to the event log and to the debugger, and sends it nowhere else.
// Standard error is unchanged. Any thread may log meanwhile.
void startCapturing();
void stopCapturing();
bool isCapturing();
void clearCaptured();

// What an entry of each sink begins with. Tests add further entries.
constexpr std::string_view EVENT = "event: ";
constexpr std::string_view DEBUGGER = "debugger: ";

// Adds an entry; for the sinks and for tests. Does nothing while the capture is stopped.
void addToCaptured(std::string_view prefix, std::string_view text);

// Returns the texts of the entries with this prefix, or with an empty prefix all whole entries, in their order.
std::vector<std::string> captured(std::string_view prefix);

// Sets an environment variable; defined for each platform. Null removes the variable.
void setLogLevelVariable(const char* value);
void redirectSinks();
void restoreSinks();

}  // namespace support
