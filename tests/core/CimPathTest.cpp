#include "core/CimPath.h"

#include <gmock/gmock.h>

#include "support/Baseline.h"
#include "support/LogCapture.h"
#include "support/Thrown.h"

namespace {

using core::CimPath;

// The log lines of a parsed path, then its parts, or the text of the syntax error.
std::vector<std::string> parsing(const std::string& text)
{
    const support::LogCapture log;
    std::vector<std::string> parts;
    const std::string thrown = support::thrownBy<utils::ESyntaxError>([&] {
        const CimPath path(text);
        parts = {"class " + path.getClassName(), "model path " + path.getModelPath()};
        for (const auto& [key, value] : path) {
            parts.push_back("key " + key + " [" + value + "]");
        }
    });
    if (parts.empty()) {
        parts = {thrown};
    }
    std::vector<std::string> lines;
    for (const std::string& line : log.debugger()) {
        lines.push_back(support::withoutAddressesAndLines(line.substr(0, line.size() - 1)));
    }
    lines.insert(lines.end(), parts.begin(), parts.end());
    return lines;
}

TEST(CimPathTest, Paths_areReadAsInTheFile)
{
    support::expectCases(ZERIX_CORE_CASES "/paths.txt", {{"path", &parsing}});
}

TEST(CimPathTest, Find_isCaseSensitive)
{
    const CimPath path("Port.k=1");
    EXPECT_THAT(path.find("k"), testing::Pointee(std::string("1")));
    EXPECT_THAT(path.find("K"), testing::IsNull());
}

TEST(CimPathTest, LongPath_isWholeInTheMessage)
{
    const std::string text(600, 'a');
    EXPECT_EQ(support::thrownBy<utils::ESyntaxError>([&] { const CimPath path(text); }),
              "DRAVEv2: ESyntaxError:too many classname separators: '" + text + "'");
}

}  // namespace
