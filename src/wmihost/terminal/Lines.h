#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace wmihost {

// Texts are UTF-8; their length is counted in code points.

// Whether the byte is the first of a code point.
constexpr bool beginsCodePoint(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

// The number of code points of a text.
std::size_t lengthOf(std::string_view text);

// The code points from `begin` on, `count` of them or fewer.
std::string_view charactersOf(std::string_view text, std::size_t begin, std::size_t count);

// The text in lines of at most that many characters, broken at blanks if possible.
std::vector<std::string> wrapped(std::string_view text, std::size_t width);

// Wraps the lines of a text that are longer than the width. The continuations are indented by `indent` more than the
// line. Without a width, the text stays unchanged.
std::string wrappedLines(std::string_view text, std::optional<std::size_t> width, std::size_t indent);

}  // namespace wmihost
