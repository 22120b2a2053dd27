#include "basekit/assertion.h"
#include "dataface/formatter.h"
#include "gridmodel/gridmodel.h"
#include "utils/csv_writer.h"

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/replace.hpp>

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace panedeck {

namespace {

constexpr char column_separator[] = "\t";
constexpr char line_end[] = "\n";
constexpr char indentation_step[] = "  ";
constexpr std::size_t copy_limit = 65534;

/// The marks of folded rows as plain text.
void spellChainMarks(std::string& text) {
    boost::algorithm::replace_first(text, "↖ ", "");
    boost::algorithm::replace_all(text, " ← ", " <- ");
    boost::algorithm::replace_first(text, "↘ ", "");
    boost::algorithm::replace_all(text, " → ", " -> ");
}

std::string joinCaptions(const std::vector<GridModel::ColumnPtr>& columns) {
    std::vector<std::string> captions;
    for (const auto& column : columns)
        captions.push_back(column->getColumnCaption());
    return boost::algorithm::join(captions, column_separator);
}

void writeCaptions(const std::vector<GridModel::ColumnPtr>& columns, CSVWriter& writer) {
    writer.writeHeaderBegin();
    for (const auto& column : columns)
        writer.writeHeader(column->getColumnCaption());
    writer.writeHeaderEnd();
}

} // namespace

bk2::error_code_t GridModel::exportToCsv(std::shared_ptr<CSVWriter> writer,
                                         notifykit2::IProgress* progress) const {
    const std::vector<ColumnPtr> columns = getVisibleColumns();
    writeCaptions(columns, *writer);
    std::string text;
    for (int row = 0; row < getRowCount(); ++row) {
        writer->writeRowBegin();
        // By position: a hierarchy may name a column twice.
        auto indentation = static_cast<std::size_t>(getRowLevel(row));
        for (const ColumnPtr& column : columns) {
            text.clear();
            getCellTextForExport(row, column, text);
            writer->writeItem(std::string(std::exchange(indentation, 0), ' ') + text);
            if (notifykit2::is_canceled(progress)) return bk2::error_code_t::canceled();
        }
        writer->writeRowEnd();
    }
    return bk2::error_code_t::success();
}

void GridModel::getCellTextForExport(int row, const ColumnPtr& column, std::string& text) const {
    const auto columnInfo = column ? column->getColumnInfo() : nullptr;
    const RowPtr tableRow = getRowByIndex(row);
    PANEDECK_EXPECT(columnInfo, "columnInfo");
    PANEDECK_EXPECT(tableRow, "row");
    if (!columnInfo || !tableRow) return;
    if (columnInfo->getFlags() & dataface1::column_data) {
        // Full precision, whatever the column shows.
        text = bk2::get_value_string(getCellContent(*tableRow, getRowLevel(row), *column));
        return;
    }
    column->formatCell(*tableRow, text, getRowLevel(row));
    if ((columnInfo->getFlags() & dataface1::column_grouping) && m_stackMode == ChainMode)
        spellChainMarks(text);
}

bk2::error_code_t GridModel::copySelectedRowsToString(std::string& text) const {
    PANEDECK_REQUIRE(!m_columnHierarchy.children.empty(), "!m_columnHierarchy.children.empty()",
                     bk2::kinds::is_not_valid_state, "No data in the grid");
    const std::vector<ColumnPtr> columns = getVisibleColumns();
    text += joinCaptions(columns) + line_end;
    std::size_t size = text.size();
    std::vector<std::pair<int, std::string>> lines;
    int minLevel = std::numeric_limits<int>::max();
    for (int row = 0; row < getRowCount() && size <= copy_limit; ++row) {
        if (!isSelected(row)) continue;
        lines.emplace_back(getRowLevel(row), shownLine(row, columns));
        minLevel = std::min(minLevel, lines.back().first);
        size += lines.back().second.size();
    }
    for (std::size_t line = 0; line < lines.size(); ++line) {
        if (line > 0) text += line_end;
        for (int level = minLevel; level < lines[line].first; ++level)
            text += indentation_step;
        text += lines[line].second;
    }
    return bk2::error_code_t::success();
}

std::string GridModel::shownLine(int row, const std::vector<ColumnPtr>& columns) const {
    const RowPtr tableRow = getRowByIndex(row);
    std::string line, cell;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (i > 0) line += column_separator;
        columns[i]->formatCell(*tableRow, cell, getRowLevel(row));
        line += cell;
    }
    return line;
}

} // namespace panedeck
