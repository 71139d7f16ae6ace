#include "wmihost/terminal/Escape.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>

namespace wmihost {
namespace {

struct Range
{
    unsigned first;
    unsigned last;
};

constexpr std::array STEERING{Range{0x00, 0x1F},     Range{0x7F, 0x9F},     Range{0x061C, 0x061C},
                              Range{0x200E, 0x200F}, Range{0x2028, 0x202E}, Range{0x2066, 0x2069}};

bool isSteering(unsigned codePoint)
{
    return std::any_of(STEERING.begin(), STEERING.end(),
                       [codePoint](Range range) { return range.first <= codePoint && codePoint <= range.last; });
}

// The number of bytes of the code point that begins with that byte.
std::size_t sizeOf(unsigned char first)
{
    return first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

unsigned codePointOf(std::string_view bytes)
{
    constexpr std::array<unsigned, 5> LEADING{0, 0xFF, 0x1F, 0x0F, 0x07};
    unsigned result = static_cast<unsigned char>(bytes[0]) & LEADING[bytes.size()];
    for (const char byte : bytes.substr(1)) {
        result = result << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    return result;
}

std::string numbered(const char* format, unsigned codePoint)
{
    std::array<char, 16> buffer{};
    std::snprintf(buffer.data(), buffer.size(), format, codePoint);
    return buffer.data();
}

std::string spelled(unsigned codePoint)
{
    switch (codePoint) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            return numbered(codePoint < 0x100 ? "\\x%02X" : "\\u%04X", codePoint);
    }
}

// The text, with each control character replaced by the result of `spell` unless `stays` accepts it.
template <class Stays, class Spell>
std::string replaced(std::string_view text, Stays stays, Spell spell)
{
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const std::string_view bytes = text.substr(at, sizeOf(static_cast<unsigned char>(text[at])));
        const unsigned codePoint = codePointOf(bytes);
        result += isSteering(codePoint) && !stays(at) ? spell(codePoint) : std::string(bytes);
        at += bytes.size();
    }
    return result;
}

}  // namespace

std::string visible(std::string_view text)
{
    return replaced(
        text, [](std::size_t) { return false; }, spelled);
}

std::string visibleLines(std::string_view text)
{
    const auto endsLine = [text](std::size_t at) {
        return text[at] == '\n' || (text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n');
    };
    return replaced(text, endsLine, spelled);
}

std::string withEscapes(std::string_view text, std::string_view prefix)
{
    return replaced(
        text, [text](std::size_t at) { return text[at] == '\n'; },
        [prefix](unsigned codePoint) { return std::string(prefix) + numbered("%04x", codePoint); });
}

}  // namespace wmihost
