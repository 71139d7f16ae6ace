#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <type_traits>

#include "Utils/FormatCheck.h"
#include "Utils/Utils.h"

namespace utils {

// The process's log level, read from VEXAL_DRAVEv2_LOG_LEVEL on the first call and never again:
// 0 nothing, 1 errors to the event log (default), 2 also debug lines and all to the debugger, 3 also to standard error.
// Any thread; two threads that meet on the first call compute the same value.
std::int32_t logLevel() noexcept;

// Writes one debug line to the sinks of the current level. `file` names the source file without extension, `function`
// the qualified function. Reports no failure: a line for which memory runs out is lost. Any thread.
void logDebug(const char* file, const char* function, std::uint32_t line, const std::string& message) noexcept;

// The same for an error line. Errors are the only lines that reach the event log.
void logError(const char* file, const char* function, std::uint32_t line, const std::string& message) noexcept;

// A function that logs: its source file's name and its own qualified name, as support tools know them. Logging never
// throws, so it may stand in destructors and between an acquisition and its release.
// Declare one per function: `static constexpr LogSite here{"WmiConverter", "wa::WmiConverter::getPath"};`
class LogSite
{
public:
    constexpr LogSite(const char* file, const char* function) noexcept : m_file(file), m_function(function) {}

    constexpr const char* file() const noexcept { return m_file; }

    // True when a debug line goes anywhere. Ask before making an argument that costs something.
    static bool debugOn() noexcept { return logLevel() >= 2; }

    // Formats and writes a debug line, or does nothing at all when debug lines go nowhere.
    template <class... Args>
    void debug(FormatHere<std::type_identity_t<Args>...> format, Args... args) const noexcept
    {
        debugAt(format.line(), format.text(), args...);
    }

    // The same with a given line number, for texts whose number support tools match on.
    template <class... Args>
    void debugAt(std::uint32_t line, CheckedFormat<std::type_identity_t<Args>...> format, Args... args) const noexcept
    {
        if (debugOn()) {
            write(logDebug, line, format.text(), args...);
        }
    }

    // Formats and writes an error line.
    template <class... Args>
    void error(FormatHere<std::type_identity_t<Args>...> format, Args... args) const noexcept
    {
        write(logError, format.line(), format.text().text(), args...);
    }

private:
    using Writer = void (*)(const char*, const char*, std::uint32_t, const std::string&) noexcept;

    template <class... Args>
    void write(Writer writer, std::uint32_t line, const char* format, Args... args) const noexcept
    {
        try {
            writer(m_file, m_function, line, utils::format(format, args...));
        } catch (const std::bad_alloc&) {
            // The line is lost; the work that it describes goes on.
        }
    }

    const char* m_file;
    const char* m_function;
};

}  // namespace utils
