#pragma once

#include <string>
#include <vector>

#include "support/LogCapture.h"

// The expected log lines of the provider, as tests write them.
namespace support {

using Lines = std::vector<std::string>;

// A line in the form of LogCapture::messages, from the source file that most of the conversion logs under.
std::string debugLine(const std::string& function, const std::string& message,
                      const std::string& file = "WmiConverter");

// Returns and removes all messages so far. Line numbers of assertions are replaced.
Lines takeMessages(LogCapture& log);

// Joins the lines of several steps.
Lines operator+(Lines first, const Lines& second);

}  // namespace support
