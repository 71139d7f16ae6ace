#include "support/LogCapture.h"

#include <cstdlib>
#include <regex>
#include <stdexcept>

#include "Utils/Log.h"
#include "support/CapturedSinks.h"

namespace support {

namespace {

std::vector<std::string> reformat(const std::vector<std::string>& lines, const char* form)
{
    static const std::regex pattern(R"(ZerixDRAVEv2: ([^:]*):(\d+):(.*?): (debug|error): ([^]*))");
    std::vector<std::string> result;
    for (std::string line : lines) {
        if (line.ends_with('\n')) {
            line.pop_back();
        }
        result.push_back(std::regex_replace(line, pattern, form));
    }
    return result;
}

}  // namespace

LogCapture::LogCapture(std::int32_t level)
{
    setLogLevelVariable(std::to_string(level).c_str());
    if (utils::logLevel() != level) {
        throw std::logic_error("this process has read another log level: start each test through ctest");
    }
    startCapturing();
}

LogCapture::~LogCapture()
{
    stopCapturing();
}

std::vector<std::string> LogCapture::events() const
{
    return captured(EVENT);
}

std::vector<std::string> LogCapture::debugger() const
{
    return captured(DEBUGGER);
}

std::vector<std::string> LogCapture::sequence() const
{
    return captured("");
}

std::vector<std::string> LogCapture::messages() const
{
    return reformat(captured(DEBUGGER), "$4|$1|$3|$5");
}

std::vector<std::string> LogCapture::numberedMessages() const
{
    return reformat(captured(DEBUGGER), "$4|$1:$2|$3|$5");
}

void LogCapture::clear()
{
    clearCaptured();
}

}  // namespace support
