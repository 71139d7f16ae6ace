#include "support/LogLines.h"

#include "Utils/Utils.h"
#include "support/Thrown.h"

namespace support {

std::string debugLine(const std::string& function, const std::string& message, const std::string& file)
{
    return "debug|" + file + "|" + function + "|" + message;
}

std::string errorLine(const std::string& function, const std::string& message, const std::string& file)
{
    return "error|" + file + "|" + function + "|" + message;
}

std::string address(const void* pointer)
{
    return utils::format("%p", pointer);
}

Lines takeMessages(LogCapture& log)
{
    Lines lines = log.messages();
    for (std::string& line : lines) {
        line = withoutLine(line);
    }
    log.clear();
    return lines;
}

Lines operator+(Lines first, const Lines& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

}  // namespace support
