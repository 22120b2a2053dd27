#include "basekit/assertion.h"
#include "gridmodel/chainrow.h"
#include "gridmodel/gridmodel.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

namespace panedeck {

namespace {

bool refersTo(const FocusRowReference& reference, const dataface1::ITableRow& row,
              const dataface1::IColumnInfo* column) {
    const int contents = reference.type == "objectid" ? dataface1::cell_object_id : dataface1::cell_value;
    bk2::variant_t value;
    return column && row.getValue(column, contents, value) && value == reference.value;
}

using References = std::vector<FocusRowReference>;

/// How many references, from `next` on, these rows answer one after the other; 0 unless each row answers as
/// long as there are references.
std::size_t answered(const References& references, std::size_t next, std::span<const GridModel::RowPtr> rows,
                     const dataface1::IColumnInfo* column) {
    std::size_t count = 0;
    for (const GridModel::RowPtr& row : rows) {
        if (next + count == references.size()) break;
        if (!refersTo(references[next + count], *row, column)) return 0;
        ++count;
    }
    return count;
}

} // namespace

bk2::error_code_t GridModel::processPositioning() {
    if (!m_viewParams.focusColumnName.empty()) {
        const SortingCondition sortingCondition = createSortingFromColumnName(m_viewParams.focusColumnName);
        if (sortingCondition.getColumnIndex() >= 0)
            PANEDECK_EXPECT(sort(sortingCondition).succeeded(), "sort(sortingCondition).succeeded()");
    }
    if (m_viewParams.focusRowReferences.empty()) return bk2::error_code_t::success();
    int rowToSelect = -1;
    PANEDECK_EXPECT(findRow(rowToSelect).succeeded(), "findRow(rowToSelect).succeeded()");
    if (rowToSelect >= 0) {
        m_selectedRows->process(rowToSelect, SelectSetSingle);
        forgetUnrestoredFocus();
        m_footerRow.reset();
    }
    return bk2::error_code_t::success();
}

bk2::error_code_t GridModel::findRow(int& rowToSelect) {
    int found = findPath(false);
    // A path that another pane made names each frame, also where this grid shows several as one row.
    if (found < 0 && m_stackMode == ChainMode) found = findPath(true);
    rowToSelect = getRowCount() == 0 ? -1 : std::max(found, 0);
    return bk2::error_code_t::success();
}

int GridModel::findPath(bool unfolded) {
    const auto column = getGroupingColumn();
    // A copy: opening a row puts other parameters into the model for a while.
    const References references = m_viewParams.focusRowReferences;
    std::size_t next = 0;
    for (int row = 0, depth = 0; row < getRowCount() && next < references.size(); ++row) {
        const int level = getRowLevel(row);
        if (level > depth) continue;
        // The subtree of the last match is behind us, and nothing in it went on.
        if (level < depth) break;
        const RowPtr rowPtr = getRowByIndex(row);
        PANEDECK_EXPECT(rowPtr, "row");
        if (!rowPtr) continue;
        const auto chain = unfolded ? bk2::interface_cast<ChainRow>(rowPtr) : nullptr;
        const auto rows = chain ? std::span(chain->chainedRows()) : std::span(&rowPtr, 1);
        const std::size_t count = answered(references, next, rows, column.get());
        if (count == 0) continue;
        next += count;
        if (next == references.size()) return row;
        ++depth;
        expandRow(row, true, nullptr);
    }
    return -1;
}

} // namespace panedeck
