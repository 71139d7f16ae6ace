#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "wmihost/terminal/Lines.h"

namespace wmihost {

// Columns of text under headings, which are never cut.
class Table
{
public:
    // What happens to a text that is longer than its column.
    enum class Long
    {
        CUT,     // its end is replaced by an ellipsis
        MIDDLE,  // the parts that all texts of the column share are replaced by ellipses
        WHOLE,   // the column keeps its width
        WRAPS    // it continues on the next line
    };

    struct Column
    {
        std::string heading;
        bool right = false;  // a number: never cut
        Long longTexts = Long::CUT;
        bool identifies = false;  // it identifies the rows, and is never left out
    };

    // The number of characters that all texts of a column share at the beginning and at the end.
    struct Common
    {
        std::size_t prefix;
        std::size_t suffix;
    };

    explicit Table(std::vector<Column> columns) : m_columns(std::move(columns)) {}

    // The row must have one cell for each column.
    void addRow(std::vector<std::string> cells) { m_rows.push_back(std::move(cells)); }

    // The lines of the table, each ending in "\n". If they are longer than `width`, columns become narrower as far as
    // their kind allows. Then columns are left out from the right, except those that identify the rows; if these still
    // do not fit, they wrap. A table with a wrapping column leaves none out, but puts the cells of a row below each
    // other.
    std::string render(std::optional<std::size_t> width) const;

    // Whether that width suffices without cutting a text or leaving out a column.
    bool fits(std::optional<std::size_t> width) const;

    // The headings of the columns that `render` leaves out at that width.
    std::vector<std::string> hiddenColumns(std::optional<std::size_t> width) const;

private:
    // The columns that are shown, and how wide.
    struct Layout
    {
        std::vector<std::size_t> columns;
        std::vector<std::size_t> widths;
        std::vector<Common> common;
        bool wrapsAll = false;  // even the columns that identify the rows must wrap
        bool stacked = false;
    };
    Layout layoutFor(std::optional<std::size_t> width) const;
    std::size_t naturalWidth(std::size_t column) const;
    std::size_t leastWidth(std::size_t column) const;
    bool hasWrappingColumn() const;
    Common commonOf(std::size_t column) const;
    bool showsRowsAlike(const Layout& layout) const;
    std::string shownCell(const Layout& layout, std::size_t place, const std::string& text) const;
    std::vector<std::string> linesOf(const Layout& layout, std::size_t place, const std::string& text) const;
    std::string inColumns(const Layout& layout) const;
    std::string inStacks(std::size_t width) const;

    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

}  // namespace wmihost
