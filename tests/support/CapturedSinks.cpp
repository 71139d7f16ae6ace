#include "support/CapturedSinks.h"

#include <atomic>
#include <mutex>

namespace support {

namespace {

struct State
{
    std::mutex mutex;
    std::atomic<bool> on{false};
    std::vector<std::string> entries;
};

State& state()
{
    static State instance;
    return instance;
}

}  // namespace

void startCapturing()
{
    clearCaptured();
    state().on = true;
    redirectSinks();
}

void stopCapturing()
{
    restoreSinks();
    state().on = false;
}

bool isCapturing()
{
    return state().on;
}

void clearCaptured()
{
    const std::lock_guard guard(state().mutex);
    state().entries.clear();
}

void addToCaptured(std::string_view prefix, std::string_view text)
{
    if (isCapturing()) {
        const std::lock_guard guard(state().mutex);
        state().entries.emplace_back(prefix).append(text);
    }
}

std::vector<std::string> captured(std::string_view prefix)
{
    const std::lock_guard guard(state().mutex);
    std::vector<std::string> texts;
    for (const std::string& entry : state().entries) {
        if (entry.starts_with(prefix)) {
            texts.push_back(entry.substr(prefix.size()));
        }
    }
    return texts;
}

}  // namespace support
