#include "support/CapturedSinks.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace support {

namespace {

struct Captured
{
    std::mutex mutex;
    std::atomic<bool> on{false};
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

void startCapturing()
{
    clearCaptured();
    captured().on = true;
    redirectSinks();
}

void stopCapturing()
{
    restoreSinks();
    captured().on = false;
}

bool isCapturing()
{
    return captured().on;
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

void captureEvent(const std::string& line)
{
    if (isCapturing()) {
        const std::lock_guard guard(captured().mutex);
        captured().events.push_back(line);
        captured().sequence.push_back("event: " + line);
    }
}

void captureDebugger(const std::string& text)
{
    if (isCapturing()) {
        const std::lock_guard guard(captured().mutex);
        captured().debugger.push_back(text);
        captured().sequence.push_back("debugger: " + text);
    }
}

void addToCaptured(std::string entry)
{
    if (isCapturing()) {
        const std::lock_guard guard(captured().mutex);
        captured().sequence.push_back(std::move(entry));
    }
}

}  // namespace support
