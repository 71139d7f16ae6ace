#pragma once

#include <string>
#include <vector>

// Captures the lines for LogCapture: with import hooks on Windows, and natively with sinks that belong to the tests.
// tests' own natively.
namespace support {

// From start to stop, keeps what the log sends to the event log and to the debugger, and sends it nowhere else.
// Standard error is unchanged. Any thread may log meanwhile.
void startCapturing();
void stopCapturing();
bool isCapturing();
void clearCaptured();
std::vector<std::string> capturedEvents();
std::vector<std::string> capturedDebugger();

// Returns the lines of both sinks in their order, each after "event: " or "debugger: ", and between them the entries
// that a test has added.
std::vector<std::string> capturedSequence();

// Adds an entry; for the sinks and for tests. Does nothing while the capture is stopped.
void captureEvent(const std::string& line);
void captureDebugger(const std::string& text);
void addToCaptured(std::string entry);

// Sets an environment variable; defined for each platform. Null removes the variable.
void setLogLevelVariable(const char* value);
void redirectSinks();
void restoreSinks();

}  // namespace support
