#include "wmihost/terminal/Table.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <numeric>
#include <sstream>
#include <string_view>

namespace wmihost {
namespace {

constexpr std::size_t gapWidth = 2;
// Narrower, a cut column says nothing any more.
constexpr std::size_t leastWidth = 8;
// Down to this a column that wraps gives way alone; below, it would become a thread of syllables.
constexpr std::size_t leastWrappedWidth = 20;

bool beginsCodePoint(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

std::string fitted(const std::string& text, std::size_t width, bool right)
{
    const std::size_t length = lengthOf(text);
    if (length <= width) {
        const std::string blanks(width - length, ' ');
        return right ? blanks + text : text + blanks;
    }
    std::string cut;
    std::size_t count = 0;
    for (const char byte : text) {
        if (beginsCodePoint(byte) && ++count == width) {
            break;
        }
        cut += byte;
    }
    return cut + "\xE2\x80\xA6";
}

// The text in lines of at most that many characters, broken at blanks where it has some.
std::vector<std::string> wrapped(const std::string& text, std::size_t width)
{
    if (lengthOf(text) <= width) {
        return {text};
    }
    std::vector<std::string> lines(1);
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ' ');) {
        if (!lines.back().empty()) {
            if (lengthOf(lines.back()) + 1 + lengthOf(word) > width) {
                lines.emplace_back();
            } else {
                lines.back() += ' ';
            }
        }
        // A word that is longer than a line goes on in the next one.
        for (const char byte : word) {
            if (beginsCodePoint(byte) && lengthOf(lines.back()) == width) {
                lines.emplace_back();
            }
            lines.back() += byte;
        }
    }
    return lines;
}

std::size_t lineLength(const std::vector<std::size_t>& widths)
{
    return std::accumulate(widths.begin(), widths.end(), std::size_t{0}) +
           (widths.empty() ? 0 : gapWidth * (widths.size() - 1));
}

}  // namespace

std::size_t lengthOf(std::string_view text)
{
    return static_cast<std::size_t>(std::ranges::count_if(text, beginsCodePoint));
}

std::vector<std::size_t> Table::widths(std::optional<std::size_t> width) const
{
    std::vector<std::size_t> result;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        std::size_t widest = lengthOf(m_columns[i].heading);
        for (const auto& row : m_rows) {
            widest = std::max(widest, lengthOf(row[i]));
        }
        result.push_back(widest);
    }
    if (!width) {
        return result;
    }
    for (std::size_t i = 0; i < result.size(); ++i) {
        const std::size_t length = lineLength(result);
        if (m_columns[i].wraps && length > *width && result[i] > leastWrappedWidth) {
            result[i] -= std::min(length - *width, result[i] - leastWrappedWidth);
        }
    }
    const auto least = [](std::size_t own) { return std::min(own, leastWidth); };
    const auto leastLine = [&] {
        std::vector<std::size_t> narrow;
        std::transform(result.begin(), result.end(), std::back_inserter(narrow), least);
        return lineLength(narrow);
    };
    while (result.size() > 1 && leastLine() > *width) {
        result.pop_back();
    }
    while (lineLength(result) > *width) {
        const auto widest = std::max_element(result.begin(), result.end());
        if (*widest <= leastWidth) {
            break;
        }
        --*widest;
    }
    return result;
}

std::size_t Table::hiddenColumns(std::optional<std::size_t> width) const
{
    return m_columns.size() - widths(width).size();
}

std::string Table::render(std::optional<std::size_t> width) const
{
    const auto fit = widths(width);
    std::string text;
    const auto addLine = [&](const auto& cellAt) {
        std::string line;
        for (std::size_t i = 0; i < fit.size(); ++i) {
            line += (i == 0 ? "" : std::string(gapWidth, ' ')) + fitted(cellAt(i), fit[i], m_columns[i].right);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    };
    addLine([this](std::size_t i) { return m_columns[i].heading; });
    addLine([&fit](std::size_t i) { return std::string(fit[i], '-'); });
    for (const auto& row : m_rows) {
        std::vector<std::vector<std::string>> cells;
        std::size_t lines = 1;
        for (std::size_t i = 0; i < fit.size(); ++i) {
            cells.push_back(m_columns[i].wraps ? wrapped(row[i], fit[i]) : std::vector{row[i]});
            lines = std::max(lines, cells.back().size());
        }
        for (std::size_t n = 0; n < lines; ++n) {
            addLine([&](std::size_t i) { return n < cells[i].size() ? cells[i][n] : std::string(); });
        }
    }
    return text;
}

}  // namespace wmihost
