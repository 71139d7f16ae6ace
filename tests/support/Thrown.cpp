#include "support/Thrown.h"

#include <regex>

namespace support {

std::string withoutLine(const std::string& text)
{
    static const std::regex number(R"(:\d+: Assertion failed: )");
    return std::regex_replace(text, number, ":#: Assertion failed: ");
}

std::string shortAssertion(const std::string& text)
{
    static const std::regex assertion("DRAVEv2: (.*): Assertion failed: '(.*)'");
    return std::regex_replace(text, assertion, "$1: $2");
}

}  // namespace support
