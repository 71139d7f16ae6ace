#include "wmihost/terminal/Lines.h"

#include <algorithm>
#include <sstream>

namespace wmihost {
namespace {

// Narrower lines would be unreadable.
constexpr std::size_t LEAST_LINE = 10;

// The place of the n-th code point.
std::size_t placeOf(std::string_view text, std::size_t n)
{
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        if (beginsCodePoint(text[at]) && n-- == 0) {
            break;
        }
    }
    return at;
}

}  // namespace

std::size_t lengthOf(std::string_view text)
{
    return static_cast<std::size_t>(std::ranges::count_if(text, beginsCodePoint));
}

std::string_view charactersOf(std::string_view text, std::size_t begin, std::size_t count)
{
    text.remove_prefix(placeOf(text, begin));
    return text.substr(0, placeOf(text, count));
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width)
{
    if (lengthOf(text) <= width) {
        return {std::string(text)};
    }
    std::vector<std::string> lines(1);
    std::istringstream words{std::string(text)};
    for (std::string word; std::getline(words, word, ' ');) {
        if (!lines.back().empty()) {
            if (lengthOf(lines.back()) + 1 + lengthOf(word) > width) {
                lines.emplace_back();
            } else {
                lines.back() += ' ';
            }
        }
        // A word that is longer than a line is broken.
        for (const char byte : word) {
            if (beginsCodePoint(byte) && lengthOf(lines.back()) == width) {
                lines.emplace_back();
            }
            lines.back() += byte;
        }
    }
    return lines;
}

std::string wrappedLines(std::string_view text, std::optional<std::size_t> width, std::size_t indent)
{
    if (!width) {
        return std::string(text);
    }
    std::string result;
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);) {
        const std::size_t own = std::min(line.find_first_not_of(' '), line.size());
        const std::size_t hanging = lengthOf(line) > *width ? own + indent : own;
        // The first line could be longer by `indent`, but all lines get the same width.
        const std::size_t room = std::max(*width > hanging ? *width - hanging : 0, LEAST_LINE);
        std::size_t blanks = own;
        for (const std::string& piece : wrapped(std::string_view(line).substr(own), room)) {
            result += std::string(piece.empty() ? 0 : blanks, ' ') + piece + "\n";
            blanks = hanging;
        }
    }
    return result;
}

}  // namespace wmihost
