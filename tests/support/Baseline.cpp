#include "support/Baseline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>

namespace support {

namespace {

// Compares by the longest common subsequence. Returns the lines that only one side has: "-" expected, "+" got.
std::string difference(const std::vector<std::string>& expected, const std::vector<std::string>& got)
{
    std::vector<std::vector<std::size_t>> common(expected.size() + 1, std::vector<std::size_t>(got.size() + 1, 0));
    for (std::size_t i = expected.size(); i-- > 0;) {
        for (std::size_t j = got.size(); j-- > 0;) {
            common[i][j] =
                expected[i] == got[j] ? common[i + 1][j + 1] + 1 : std::max(common[i + 1][j], common[i][j + 1]);
        }
    }
    std::string text;
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < expected.size() || j < got.size()) {
        if (i < expected.size() && j < got.size() && expected[i] == got[j]) {
            text += "  " + expected[i] + "\n";
            ++i;
            ++j;
        } else if (j == got.size() || (i < expected.size() && common[i + 1][j] >= common[i][j + 1])) {
            text += "- " + expected[i++] + "\n";
        } else {
            text += "+ " + got[j++] + "\n";
        }
    }
    return text;
}

}  // namespace

std::string withoutAddressesAndLines(const std::string& line)
{
    static const std::regex address("\\b[0-9A-F]{16}\\b");
    static const std::regex number("(ZerixDRAVEv2: ([^:]*):)(\\d+)(:)");
    static const std::regex assertion("(: ([A-Za-z/]+):)(\\d+)(: Assertion failed: )");
    static const std::regex keeping("CimPath|CimProperty|CimPropertyList|CimInstance|Utils/Containers|Utils/Singleton");
    std::string text = std::regex_replace(line, address, "<address>");
    for (const std::regex& pattern : {number, assertion}) {
        std::smatch match;
        if (std::regex_search(text, match, pattern) && !std::regex_match(match[2].str(), keeping)) {
            text = std::regex_replace(text, pattern, "$1<line>$4");
        }
    }
    return text;
}

bool acceptsBaselines()
{
    const char* const accept = std::getenv("ZERIX_ACCEPT_BASELINES");
    return accept != nullptr && accept == std::string("1");
}

std::vector<std::string> readBaseline(const std::string& file)
{
    std::vector<std::string> lines;
    std::ifstream stream(file, std::ios::binary);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

void expectBaseline(const std::string& file, const std::vector<std::string>& lines)
{
    if (acceptsBaselines()) {
        std::ofstream stream(file, std::ios::binary);
        for (const std::string& line : lines) {
            stream << line << "\n";
        }
        ASSERT_TRUE(stream.flush().good()) << "cannot write " << file;
        return;
    }
    ASSERT_TRUE(std::ifstream(file).good()) << file << " is missing; ZERIX_ACCEPT_BASELINES=1 writes it";
    const std::vector<std::string> expected = readBaseline(file);
    EXPECT_TRUE(expected == lines) << file << ":\n" << difference(expected, lines);
}

void expectCases(const std::string& file, const CaseFunctions& functions)
{
    static const std::regex caseLine("(\\w+) \\[(.*)\\]");
    std::vector<std::string> lines;
    bool hasCases = false;
    for (const std::string& line : readBaseline(file)) {
        std::smatch match;
        if (std::regex_match(line, match, caseLine)) {
            lines.push_back(line);
            for (const std::string& outcome : functions.at(match[1])(match[2])) {
                lines.push_back("    " + outcome);
            }
            hasCases = true;
        } else if (line.empty() || line.starts_with('#')) {
            lines.push_back(line);
        }
    }
    ASSERT_TRUE(hasCases) << file;
    expectBaseline(file, lines);
}

}  // namespace support
