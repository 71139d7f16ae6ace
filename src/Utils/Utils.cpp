#include "Utils/Utils.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <sstream>
#include <utility>

#include "Utils/BoundedFormat.h"
#include "Utils/Log.h"

namespace utils {

namespace {

constexpr std::size_t BUFFER_SIZE = 512;

bool hasHexPrefix(const std::string& text)
{
    return text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

std::string upperCase(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](unsigned char character) { return static_cast<char>(std::toupper(character)); });
    return text;
}

}  // namespace

std::string format(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = formatList(format, arguments);
    va_end(arguments);
    return text;
}

std::string formatList(const char* format, std::va_list arguments)
{
    std::array<char, BUFFER_SIZE> buffer;
    const int length = formatBounded(buffer.data(), buffer.size(), format, arguments);
    const bool fits = length >= 0 && static_cast<std::size_t>(length) < BUFFER_SIZE;
    return {buffer.data(), fits ? static_cast<std::size_t>(length) : BUFFER_SIZE - 1};
}

bool toUint(std::string text, std::uint32_t* result)
{
    static constexpr LogSite here{"Utils/Utils", "utils::toUint"};
    text = trim(text);
    std::istringstream stream(text);
    int digits = 0;
    const bool hex = hasHexPrefix(text);
    if (hex) {
        here.debug("HEX: %s", text.c_str());
        digits = static_cast<int>(text.size()) - 2;
        stream >> std::hex;
    }
    std::uint32_t number = 0;
    if (!(stream >> number)) {
        return false;
    }
    const std::string back = hex ? format("0x%0*x", digits, number) : format("%d", static_cast<int>(number));
    if (upperCase(back) != upperCase(text)) {
        here.debug("CONV: %s <> %s", back.c_str(), text.c_str());
        return false;
    }
    *result = number;
    return true;
}

std::uint64_t toUint64(const std::string& text)
{
    if (text.size() >= 21) {
        return 0;
    }
    std::uint64_t number = 0;
    for (const char character : text) {
        if (character < '0' || character > '9') {
            break;
        }
        number = number * 10 + static_cast<std::uint64_t>(character - '0');
    }
    return number;
}

std::string trim(const std::string& text)
{
    static constexpr const char* BLANKS = " \t";
    const std::size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

std::optional<std::string_view> Pieces::next() noexcept
{
    if (m_atEnd) {
        return std::nullopt;
    }
    bool inQuotes = false;
    bool afterBackslash = false;
    std::size_t length = 0;
    for (; length < m_rest.size(); ++length) {
        const char character = m_rest[length];
        if (character == m_quote && !(inQuotes && afterBackslash)) {
            inQuotes = !inQuotes;
        }
        afterBackslash = character == '\\';
        if (character == m_separator && !inQuotes) {
            break;
        }
    }
    const std::string_view piece = m_rest.substr(0, length);
    // A separator that stands last has an empty piece behind it.
    m_atEnd = length == m_rest.size();
    m_rest.remove_prefix(m_atEnd ? length : length + 1);
    return piece;
}

std::vector<std::string> split(const std::string& text, char separator, char quote)
{
    std::vector<std::string> result;
    Pieces pieces(text, separator, quote);
    while (const std::optional<std::string_view> piece = pieces.next()) {
        result.emplace_back(*piece);
    }
    return result;
}

std::string unquote(std::string text)
{
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
        return text;
    }
    std::size_t length = 0;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
        // The closing quote is not part of what is looked at, so a backslash that stands last stays.
        const bool escapesQuote = text[i] == '\\' && i + 2 < text.size() && text[i + 1] == '"';
        if (!escapesQuote) {
            text[length++] = text[i];
        }
    }
    text.resize(length);
    return text;
}

std::string quote(const std::string& text)
{
    std::string result;
    result.reserve(text.size() + 2);
    result += '"';
    for (const char character : text) {
        if (character == '"') {
            result += '\\';
        }
        result += character;
    }
    result += '"';
    return result;
}

}  // namespace utils
