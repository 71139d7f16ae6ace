#include "Utils/Log.h"

#include <atomic>
#include <cstdlib>

#include "Utils/LogSinks.h"

namespace utils {

namespace {

constexpr std::int32_t NOT_READ = -1;

// Relaxed is enough: every thread that finds it unread computes the same value from the same environment.
std::atomic<std::int32_t> currentLevel{NOT_READ};

std::int32_t readLevel() noexcept
{
    const char* value = std::getenv("VEXAL_DRAVEv2_LOG_LEVEL");
    // Only the first character counts. Any character but 0, 2 and 3 means the default: "10" is 1 and "3x" is 3.
    switch (value == nullptr ? '\0' : *value) {
        case '0':
            return 0;
        case '2':
            return 2;
        case '3':
            return 3;
        default:
            return 1;
    }
}

std::string formatLine(const char* file, const char* function, std::uint32_t line, const char* level,
                       const std::string& message)
{
    return format("ZerixDRAVEv2: %s:%d:%s: %s: %s\n", file, static_cast<int>(line), function, level, message.c_str());
}

void writeConsoles(std::int32_t level, const std::string& line) noexcept
{
    writeDebugger(line.c_str());
    if (level == 3) {
        writeStandardError(line.c_str());
    }
}

}  // namespace

std::int32_t logLevel() noexcept
{
    std::int32_t level = currentLevel.load(std::memory_order_relaxed);
    if (level == NOT_READ) {
        level = readLevel();
        currentLevel.store(level, std::memory_order_relaxed);
    }
    return level;
}

void logDebug(const char* file, const char* function, std::uint32_t line, const std::string& message) noexcept
{
    const std::int32_t level = logLevel();
    if (level < 2) {
        return;
    }
    try {
        writeConsoles(level, formatLine(file, function, line, "debug", message));
    } catch (const std::bad_alloc&) {
        // The line is lost; logging reports no failure.
    }
}

void logError(const char* file, const char* function, std::uint32_t line, const std::string& message) noexcept
{
    const std::int32_t level = logLevel();
    try {
        const std::string text = formatLine(file, function, line, "error", message);
        if (level >= 1) {
            reportEvent(text);
        }
        if (level >= 2) {
            writeConsoles(level, text);
        }
    } catch (const std::bad_alloc&) {
        // The line is lost; logging reports no failure.
    }
}

}  // namespace utils
