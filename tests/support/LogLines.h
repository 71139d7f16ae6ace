#pragma once

#include <string>
#include <vector>

#include "support/LogCapture.h"

// How the tests of the provider spell expected log output.
namespace support {

using Lines = std::vector<std::string>;

// Lines as LogCapture::messages gives them, of the file that most of the conversion logs under.
std::string debugLine(const std::string& function, const std::string& message,
                      const std::string& file = "WmiConverter");
std::string errorLine(const std::string& function, const std::string& message,
                      const std::string& file = "WmiConverter");

// The line that making an exception writes.
std::string exceptionLine(const std::string& message);

// The same for a failed assertion in the file, with '#' for the number.
std::string assertionLine(const std::string& condition, const std::string& file = "WmiConverter");

// The text of the exception of a failed assertion, with '#' for the number.
std::string assertionText(const std::string& condition, const std::string& file = "WmiConverter");

// A pointer as the log shows it.
std::string address(const void* pointer);

// All messages so far, assertions without their numbers; forgets them.
Lines takeMessages(LogCapture& log);

// The lines of several steps, one after the other.
Lines operator+(Lines first, const Lines& second);

}  // namespace support
