#include "support/CapturedSinks.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "Utils/LogSinks.h"

namespace {

struct Captured
{
    std::mutex mutex;
    bool on = false;
    std::vector<std::string> events;
    std::vector<std::string> debugger;
    std::vector<std::string> sequence;
};

Captured& captured()
{
    static Captured instance;
    return instance;
}

}  // namespace

namespace utils {

void reportEvent(const std::string& line) noexcept
{
    const std::lock_guard guard(captured().mutex);
    if (captured().on) {
        captured().events.push_back(line);
        captured().sequence.push_back("event: " + line);
    }
}

void writeDebugger(const char* text) noexcept
{
    const std::lock_guard guard(captured().mutex);
    if (captured().on) {
        captured().debugger.emplace_back(text);
        captured().sequence.push_back("debugger: " + captured().debugger.back());
    }
}

void writeStandardError(const char* line) noexcept
{
    std::fprintf(stderr, line);
}

}  // namespace utils

namespace support {

void setLogLevelVariable(const char* value)
{
    if (value != nullptr) {
        setenv("VEXAL_DRAVEv2_LOG_LEVEL", value, 1);
    } else {
        unsetenv("VEXAL_DRAVEv2_LOG_LEVEL");
    }
}

void startCapturing()
{
    clearCaptured();
    const std::lock_guard guard(captured().mutex);
    captured().on = true;
}

void stopCapturing()
{
    const std::lock_guard guard(captured().mutex);
    captured().on = false;
}

void clearCaptured()
{
    const std::lock_guard guard(captured().mutex);
    captured().events.clear();
    captured().debugger.clear();
    captured().sequence.clear();
}

std::vector<std::string> capturedEvents()
{
    const std::lock_guard guard(captured().mutex);
    return captured().events;
}

std::vector<std::string> capturedDebugger()
{
    const std::lock_guard guard(captured().mutex);
    return captured().debugger;
}

std::vector<std::string> capturedSequence()
{
    const std::lock_guard guard(captured().mutex);
    return captured().sequence;
}

}  // namespace support
