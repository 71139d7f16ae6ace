#pragma once

#include <string>
#include <vector>

// The lines that LogCapture collects, and what it needs of the platform: by import hooks on Windows, by sinks of the
// tests' own natively.
namespace support {

// From start to stop, what the log hands to the event log and to the debugger is kept here and goes nowhere else.
// Standard error is not touched. Any thread may log meanwhile.
void startCapturing();
void stopCapturing();
bool isCapturing();
void clearCaptured();
std::vector<std::string> capturedEvents();
std::vector<std::string> capturedDebugger();

// Both in the order in which they came, each text behind "event: " or "debugger: ", and between them what a test has
// added itself.
std::vector<std::string> capturedSequence();

// For the sinks, and for a test's own entries. Nothing is kept while nothing is captured.
void captureEvent(const std::string& line);
void captureDebugger(const std::string& text);
void addToCaptured(std::string entry);

// Defined for each platform. Null removes the variable.
void setLogLevelVariable(const char* value);
void redirectSinks();
void restoreSinks();

}  // namespace support
