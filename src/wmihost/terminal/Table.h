#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace wmihost {

// Columns of text under headings. All texts are UTF-8; their length is counted in code points.
class Table
{
public:
    struct Column
    {
        std::string heading;
        bool right = false;  // numbers
        bool wraps = false;  // goes on below rather than being cut
    };

    explicit Table(std::vector<Column> columns) : m_columns(std::move(columns)) {}

    // As many cells as there are columns.
    void addRow(std::vector<std::string> cells) { m_rows.push_back(std::move(cells)); }

    // The lines of the table, each ending in "\n". Where they are longer than `width`, columns that wrap give way
    // first; then the widest columns are cut, marked by an ellipsis, and columns that would become unreadable are left
    // out from the right.
    std::string render(std::optional<std::size_t> width) const;

    // How many columns `render` leaves out at that width.
    std::size_t hiddenColumns(std::optional<std::size_t> width) const;

private:
    std::vector<std::size_t> widths(std::optional<std::size_t> width) const;

    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

// The number of code points of a UTF-8 text.
std::size_t lengthOf(std::string_view text);

}  // namespace wmihost
