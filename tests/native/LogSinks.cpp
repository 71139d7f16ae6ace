#include "Utils/LogSinks.h"

#include <cstdio>
#include <cstdlib>

#include "support/CapturedSinks.h"

namespace utils {

void reportEvent(const std::string& line) noexcept
{
    support::addToCaptured(support::EVENT, line);
}

void writeDebugger(const char* text) noexcept
{
    support::addToCaptured(support::DEBUGGER, text);
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

// There are no other sinks.
void redirectSinks() {}

void restoreSinks() {}

}  // namespace support
