#pragma once

#include <array>
#include <cstdarg>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace utils {

// Device-address formats: bus, device and function; two-part address; three and two bytes run together.
inline constexpr std::array<const char*, 4> deviceAddressFormats{"%02x:%02x.%x", "%02x:%02x", "%02x%02x%02x",
                                                                 "%02x%02x"};

// printf-style formatting. A text of more than 511 characters is cut to its first 511, silently.
std::string format(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The same for arguments that a variadic function was called with.
std::string formatList(const char* format, std::va_list arguments) __attribute__((format(printf, 1, 0)));

// Reads an unsigned 32-bit number, decimal or with 0x in front. True and *result set, or false and *result untouched.
// Strict by a round trip: the number, formatted back, must give the trimmed input. Its quirks are relied upon:
// leading zeros, '+' and decimals of 2147483648 and more are refused, "-1" is 4294967295.
bool toUint(std::string text, std::uint32_t* result);

// Reads the leading run of decimal digits, wrapping at 64 bits. 0 when there is none, and for 21 characters or more.
std::uint64_t toUint64(const std::string& text);

// The text without leading and trailing spaces and tabs. Other white space stays.
std::string trim(const std::string& text);

// Cuts the text at every separator outside quotes. A quote byte always opens quotes, and closes them unless a backslash
// stands directly before it. Quotes and backslashes stay in the pieces; empty pieces are kept. An
// empty text has no pieces.
std::vector<std::string> split(const std::string& text, char separator, char quote);

// The same pieces one by one, as views into the text, which must outlive them.
class Pieces
{
public:
    Pieces(std::string_view text, char separator, char quote) noexcept
        : m_rest(text), m_atEnd(text.empty()), m_separator(separator), m_quote(quote)
    {
    }

    // The next piece; empty when none is left.
    std::optional<std::string_view> next() noexcept;

private:
    std::string_view m_rest;
    bool m_atEnd;
    char m_separator;
    char m_quote;
};

// The text without its enclosing double quotes, each \" in it turned into "; unchanged when it has no such quotes.
// No other escape is known: two backslashes stay two.
std::string unquote(std::string text);

// The text in double quotes, with a backslash before each double quote. Backslashes are left alone, as in unquote.
std::string quote(const std::string& text);

}  // namespace utils
