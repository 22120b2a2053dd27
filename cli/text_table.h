#pragma once

#include <string>
#include <vector>

namespace panedeck::cli {

/// Sets cells in columns: the first one to the left, the others (numbers) to the right, with a line under the
/// headings. Rows shorter than the headings have empty cells. Cells are shown as `terminal_text` makes
/// them, so that a name from a profile cannot drive the terminal; a cell longer than `widest` characters is
/// cut and ends in "…".
class TextTable {
public:
    explicit TextTable(std::vector<std::string> headings, std::size_t widest = 80);

    void add_row(std::vector<std::string> cells);

    /// The table, each line ending with a line feed.
    std::string text() const;

private:
    std::vector<std::string> fitted(std::vector<std::string> cells) const;

    std::size_t m_columns;
    std::size_t m_widest;
    std::vector<std::vector<std::string>> m_rows; ///< the headings first
};

} // namespace panedeck::cli
