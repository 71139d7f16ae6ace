#include "wmihost/wql/LikePattern.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/wmihost/CaseFile.h"
#include "wmihost/terminal/Text.h"

namespace wmihost::wql {
namespace {

TEST(LikePattern, Pattern_matchesAsDocumented)
{
    expectOutcomes(ZERIX_WMIHOST_TESTS "/wql/like.cases", [](const std::string& line) -> std::string {
        const std::wstring text = toWide(line);
        const std::wstring like = L" LIKE ";
        const LikePattern pattern(text.substr(text.find(like) + like.size()));
        return pattern.matches(text.substr(0, text.find(like))) ? "true" : "false";
    });
}

}  // namespace
}  // namespace wmihost::wql
