#include "wmihost/repository/QuotedText.h"

#include <gtest/gtest.h>

namespace wmihost {
namespace {

TEST(QuotedText, Quotes_andBackslashesAreProtected)
{
    EXPECT_EQ(quotedText(L""), L"\"\"");
    EXPECT_EQ(quotedText(L"a\"b\\c'"), L"\"a\\\"b\\\\c'\"");
}

TEST(QuotedText, Backslash_beforeAnythingElse_standsForItself)
{
    EXPECT_EQ(unescapedText("a\\\"b\\\\c\\'d\\e\\"), L"a\"b\\c'd\\e\\");
    EXPECT_EQ(unescapedText("Größe"), L"Gr\u00F6\u00DFe");
}

}  // namespace
}  // namespace wmihost
