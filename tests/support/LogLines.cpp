#include "support/LogLines.h"

#include "support/Thrown.h"

namespace support {

std::string debugLine(const std::string& function, const std::string& message, const std::string& file)
{
    return "debug|" + file + "|" + function + "|" + message;
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
