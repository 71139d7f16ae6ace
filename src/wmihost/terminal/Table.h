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
        cut,     // it loses its end, marked by an ellipsis
        middle,  // it loses what it has in common with the others of its column, marked by ellipses
        whole,   // the column does not become narrower
        wraps    // it goes on below
    };

    struct Column
    {
        std::string heading;
        bool right = false;  // a number: never cut
        Long longTexts = Long::cut;
        bool identifies = false;  // tells the rows apart: never left out
    };

    // How many characters at the beginning and at the end all the texts of a column share.
    struct Common
    {
        std::size_t prefix;
        std::size_t suffix;
    };

    explicit Table(std::vector<Column> columns) : m_columns(std::move(columns)) {}

    // As many cells as there are columns.
    void addRow(std::vector<std::string> cells) { m_rows.push_back(std::move(cells)); }

    // The lines of the table, each ending in "\n". Where they are longer than `width`, columns become narrower as far
    // as their kind allows; then columns are left out from the right, but for those that identify the rows, which wrap
    // in the end. A table with a column that wraps leaves none out: it puts the cells of a row below each other.
    std::string render(std::optional<std::size_t> width) const;

    // Whether no text is cut and nothing left out at that width.
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
        bool wrapsAll = false;  // even the columns that identify the rows do not fit otherwise
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
