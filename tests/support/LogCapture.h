#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace support {

// Collects what the log writes in this process while it lives, sink by sink, instead of the real sinks. One at a time.
// The level is the process's and read once: tests run in a process of their own each, as ctest starts them.
class LogCapture
{
public:
    // Sets the level; throws std::logic_error when the process has read another one already.
    explicit LogCapture(std::int32_t level = 2);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Whole lines, newline included.
    std::vector<std::string> events() const;
    std::vector<std::string> debugger() const;

    // Everything in the order in which it came: events and debugger lines behind "event: " or "debugger: ", and between
    // them the calls and references of a CallLog.
    std::vector<std::string> sequence() const;

    // The debugger's lines as "level file:line:function: message" is too long to repeat in every test: each line as
    // "debug|file|function|message" or "error|file|function|message", without its number.
    std::vector<std::string> messages() const;

    // The same with the number after the file: "debug|file:line|function|message".
    std::vector<std::string> numberedMessages() const;

    void clear();
};

}  // namespace support
