#include "Utils/BoundedFormat.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "Utils/Utils.h"

namespace {

int formatInto(std::array<char, 8>& buffer, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int length = utils::formatBounded(buffer.data(), buffer.size(), format, arguments);
    va_end(arguments);
    return length;
}

// Only a text that fits has a terminator.
TEST(BoundedFormatTest, Length_isNegativeIfTheTextIsCut)
{
    std::array<char, 8> buffer{};
    EXPECT_EQ(formatInto(buffer, "%s", "1234567"), 7);
    EXPECT_STREQ(buffer.data(), "1234567");
    EXPECT_EQ(formatInto(buffer, "%s", "12345678"), 8);
    EXPECT_EQ(std::string(buffer.data(), buffer.size()), "12345678");
    EXPECT_LT(formatInto(buffer, "%s", "abcdefghi"), 0);
    EXPECT_EQ(std::string(buffer.data(), buffer.size()), "abcdefgh");
}

TEST(BoundedFormatTest, Formats_areThePlatforms)
{
    // The format is in a variable, because the compiler's check does not know the platform's conversions.
    const char* const pointer = "%p";
    const char* const wide = "%I64u";
    EXPECT_EQ(utils::format(pointer, reinterpret_cast<void*>(0xabc)), "0000000000000ABC");
    EXPECT_EQ(utils::format(wide, 18446744073709551615ULL), "18446744073709551615");
}

}  // namespace
