#pragma once

#include <string>
#include <vector>

// What LogCapture needs of the platform it runs on; defined once for Windows (by import hooks) and once natively.
namespace support {

// Null removes the variable.
void setLogLevelVariable(const char* value);

// From start to stop, what the log hands to the event log and to the debugger is kept here and goes nowhere else.
// Standard error is not touched. Any thread may log meanwhile.
void startCapturing();
void stopCapturing();
void clearCaptured();
std::vector<std::string> capturedEvents();
std::vector<std::string> capturedDebugger();

// Both in the order in which they came, each text behind "event: " or "debugger: ".
std::vector<std::string> capturedSequence();

}  // namespace support
