#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace support {

// While it lives, collects the lines that the log writes in this process, per sink, instead of the real sinks. One at
// a time. A process reads its log level only once; therefore ctest starts each test as a separate process.
class LogCapture
{
public:
    // Sets the level. Throws std::logic_error if the process has already read another level.
    explicit LogCapture(std::int32_t level = 2);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Returns whole lines, newline included.
    std::vector<std::string> events() const;
    std::vector<std::string> debugger() const;

    // Returns all entries in order: events and debugger lines after "event: " or "debugger: ", and between them the
    // calls and references of a CallLog.
    std::vector<std::string> sequence() const;

    // Returns the debugger's lines in a shorter form than "level file:line:function: message": each line as
    // "debug|file|function|message" or "error|file|function|message", without its line number.
    std::vector<std::string> messages() const;

    // The same with the line number after the file: "debug|file:line|function|message".
    std::vector<std::string> numberedMessages() const;

    void clear();
};

}  // namespace support
