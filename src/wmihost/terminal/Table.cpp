#include "wmihost/terminal/Table.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <set>
#include <string_view>

namespace wmihost {
namespace {

constexpr std::size_t GAP_WIDTH = 2;
// A text that is cut to fewer characters would be useless.
constexpr std::size_t LEAST_CUT = 12;
constexpr std::size_t LEAST_MIDDLE = 24;
constexpr std::size_t LEAST_WRAPPED = 20;
constexpr const char* ELLIPSIS = "\xE2\x80\xA6";

std::string padded(const std::string& text, std::size_t width, bool right)
{
    const std::string blanks(width - std::min(width, lengthOf(text)), ' ');
    return right ? blanks + text : text + blanks;
}

std::string withoutEnd(const std::string& text, std::size_t width)
{
    return lengthOf(text) <= width ? text
                                   : std::string(charactersOf(text, 0, std::max<std::size_t>(width, 1) - 1)) + ELLIPSIS;
}

// Shortens the common prefix and the common suffix of the column in their middle, so that the differing part of the
// text fits.
std::string withoutCommon(const std::string& text, std::size_t width, const Table::Common& common)
{
    const std::size_t length = lengthOf(text);
    const auto [prefix, suffix] = common;
    const std::size_t core = length - prefix - suffix;
    const std::size_t spare = width - std::min(width, core + 2);
    const std::size_t head = std::min(prefix, spare / 3);
    const std::size_t tail = std::min(suffix, spare / 3);
    const std::size_t before = std::min(prefix - head, spare - head - tail);
    const std::size_t after = std::min(suffix - tail, spare - head - tail - before);
    std::string result(charactersOf(text, 0, head));
    result += head + before < prefix ? ELLIPSIS : "";
    result += charactersOf(text, prefix - before, before + core + after);
    result += tail + after < suffix ? ELLIPSIS : "";
    result += charactersOf(text, length - tail, tail);
    return withoutEnd(result, width);
}

std::size_t commonPrefix(std::string_view left, std::string_view right)
{
    const auto at = std::mismatch(left.begin(), left.end(), right.begin(), right.end()).first;
    auto bytes = static_cast<std::size_t>(at - left.begin());
    // Two different characters may begin with the same byte.
    while (bytes > 0 && bytes < left.size() && !beginsCodePoint(left[bytes])) {
        --bytes;
    }
    return lengthOf(left.substr(0, bytes));
}

std::size_t commonSuffix(std::string_view left, std::string_view right)
{
    const auto at = std::mismatch(left.rbegin(), left.rend(), right.rbegin(), right.rend()).first;
    return lengthOf(left.substr(left.size() - static_cast<std::size_t>(at - left.rbegin())));
}

std::size_t lineLength(const std::vector<std::size_t>& widths)
{
    return std::accumulate(widths.begin(), widths.end(), std::size_t{0}) +
           (widths.empty() ? 0 : GAP_WIDTH * (widths.size() - 1));
}

// Narrows the widest columns until the line fits, but no column below its least width.
void squeeze(std::vector<std::size_t>& widths, const std::vector<std::size_t>& least, std::size_t width)
{
    while (lineLength(widths) > width) {
        std::size_t widest = widths.size();
        for (std::size_t i = 0; i < widths.size(); ++i) {
            if (widths[i] > least[i] && (widest == widths.size() || widths[i] > widths[widest])) {
                widest = i;
            }
        }
        if (widest == widths.size()) {
            return;
        }
        --widths[widest];
    }
}

}  // namespace

std::size_t Table::naturalWidth(std::size_t column) const
{
    std::size_t widest = lengthOf(m_columns[column].heading);
    for (const auto& row : m_rows) {
        widest = std::max(widest, lengthOf(row[column]));
    }
    return widest;
}

std::size_t Table::leastWidth(std::size_t column) const
{
    const Column& kind = m_columns[column];
    const std::size_t natural = naturalWidth(column);
    if (kind.right || kind.longTexts == Long::WHOLE) {
        return natural;
    }
    const std::size_t least = kind.longTexts == Long::CUT      ? LEAST_CUT
                              : kind.longTexts == Long::MIDDLE ? LEAST_MIDDLE
                                                               : LEAST_WRAPPED;
    return std::min(natural, std::max(least, lengthOf(kind.heading)));
}

bool Table::hasWrappingColumn() const
{
    return std::any_of(m_columns.begin(), m_columns.end(),
                       [](const Column& column) { return column.longTexts == Long::WRAPS; });
}

Table::Layout Table::layoutFor(std::optional<std::size_t> width) const
{
    Layout layout;
    std::vector<std::size_t> least;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        layout.columns.push_back(i);
        layout.widths.push_back(naturalWidth(i));
        least.push_back(leastWidth(i));
    }
    if (!width || lineLength(layout.widths) <= *width) {
        return layout;
    }
    if (hasWrappingColumn()) {
        layout.stacked = lineLength(least) > *width;
    }
    while (!layout.stacked && lineLength(least) > *width) {
        const auto last = std::find_if(layout.columns.rbegin(), layout.columns.rend(),
                                       [this](std::size_t column) { return !m_columns[column].identifies; });
        if (last == layout.columns.rend() || layout.columns.size() == 1) {
            layout.wrapsAll = true;
            least.assign(least.size(), 1);
            break;
        }
        const auto place = std::distance(last, layout.columns.rend()) - 1;
        layout.columns.erase(layout.columns.begin() + place);
        layout.widths.erase(layout.widths.begin() + place);
        least.erase(least.begin() + place);
    }
    squeeze(layout.widths, least, *width);
    for (const std::size_t column : layout.columns) {
        layout.common.push_back(m_columns[column].longTexts == Long::MIDDLE ? commonOf(column) : Common{0, 0});
    }
    layout.wrapsAll = layout.wrapsAll || showsRowsAlike(layout);
    return layout;
}

Table::Common Table::commonOf(std::size_t column) const
{
    const std::string* first = nullptr;
    Common common{0, 0};
    std::size_t shortest = 0;
    for (const auto& row : m_rows) {
        const std::string& text = row[column];
        if (first == nullptr) {
            first = &text;
            shortest = lengthOf(text);
            common = {shortest, shortest};
        } else {
            common.prefix = std::min(common.prefix, commonPrefix(*first, text));
            common.suffix = std::min(common.suffix, commonSuffix(*first, text));
            shortest = std::min(shortest, lengthOf(text));
        }
    }
    common.suffix = std::min(common.suffix, shortest - common.prefix);
    return common;
}

std::string Table::shownCell(const Layout& layout, std::size_t place, const std::string& text) const
{
    const std::size_t width = layout.widths[place];
    if (lengthOf(text) <= width) {
        return text;
    }
    return m_columns[layout.columns[place]].longTexts == Long::MIDDLE ? withoutCommon(text, width, layout.common[place])
                                                                      : withoutEnd(text, width);
}

bool Table::showsRowsAlike(const Layout& layout) const
{
    std::set<std::vector<std::string>> whole;
    std::set<std::vector<std::string>> shown;
    for (const auto& row : m_rows) {
        std::vector<std::string> texts;
        std::vector<std::string> cells;
        for (std::size_t i = 0; i < layout.columns.size(); ++i) {
            if (m_columns[layout.columns[i]].identifies) {
                texts.push_back(row[layout.columns[i]]);
                cells.push_back(shownCell(layout, i, texts.back()));
            }
        }
        whole.insert(std::move(texts));
        shown.insert(std::move(cells));
    }
    return shown.size() < whole.size();
}

std::vector<std::string> Table::linesOf(const Layout& layout, std::size_t place, const std::string& text) const
{
    const Column& column = m_columns[layout.columns[place]];
    const bool needed = column.identifies || layout.columns.size() == 1;
    const bool wraps = column.longTexts == Long::WRAPS || (layout.wrapsAll && needed);
    return wraps ? wrapped(text, layout.widths[place]) : std::vector{shownCell(layout, place, text)};
}

bool Table::fits(std::optional<std::size_t> width) const
{
    std::vector<std::size_t> natural;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        natural.push_back(naturalWidth(i));
    }
    return !width || lineLength(natural) <= *width;
}

std::vector<std::string> Table::hiddenColumns(std::optional<std::size_t> width) const
{
    const Layout layout = layoutFor(width);
    std::vector<std::string> hidden;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        if (std::find(layout.columns.begin(), layout.columns.end(), i) == layout.columns.end()) {
            hidden.push_back(m_columns[i].heading);
        }
    }
    return hidden;
}

std::string Table::render(std::optional<std::size_t> width) const
{
    const Layout layout = layoutFor(width);
    return layout.stacked ? inStacks(*width) : inColumns(layout);
}

std::string Table::inColumns(const Layout& layout) const
{
    std::string text;
    const auto addLines = [&](const std::vector<std::vector<std::string>>& cells) {
        std::size_t lines = 1;
        for (const auto& cell : cells) {
            lines = std::max(lines, cell.size());
        }
        for (std::size_t n = 0; n < lines; ++n) {
            std::string line;
            for (std::size_t i = 0; i < cells.size(); ++i) {
                line += (i == 0 ? "" : std::string(GAP_WIDTH, ' ')) +
                        padded(n < cells[i].size() ? cells[i][n] : std::string(), layout.widths[i],
                               m_columns[layout.columns[i]].right);
            }
            line.erase(line.find_last_not_of(' ') + 1);
            text += line + "\n";
        }
    };
    std::vector<std::vector<std::string>> headings;
    std::vector<std::vector<std::string>> rules;
    for (std::size_t i = 0; i < layout.columns.size(); ++i) {
        headings.push_back(wrapped(m_columns[layout.columns[i]].heading, layout.widths[i]));
        rules.push_back({std::string(layout.widths[i], '-')});
    }
    addLines(headings);
    addLines(rules);
    for (const auto& row : m_rows) {
        std::vector<std::vector<std::string>> cells;
        for (std::size_t i = 0; i < layout.columns.size(); ++i) {
            cells.push_back(linesOf(layout, i, row[layout.columns[i]]));
        }
        addLines(cells);
    }
    return text;
}

// Shows the first cell of each row, and the others below it.
std::string Table::inStacks(std::size_t width) const
{
    std::string text;
    for (const auto& row : m_rows) {
        text += wrappedLines(row.front() + "\n", width, GAP_WIDTH);
        for (std::size_t i = 1; i < row.size(); ++i) {
            const std::string label = m_columns.size() == 2 ? "" : m_columns[i].heading + ": ";
            text += row[i].empty() ? "" : wrappedLines("    " + label + row[i] + "\n", width, 0);
        }
    }
    return text;
}

}  // namespace wmihost
