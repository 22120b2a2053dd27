#include "basekit/assertion.h"
#include "gridmodel/gridmodel.h"

namespace panedeck {

namespace {

bool refersTo(const FocusRowReference& reference, const dataface1::ITableRow& row,
              const dataface1::IColumnInfo* column) {
    const int contents = reference.type == "objectid" ? dataface1::cell_object_id : dataface1::cell_value;
    bk2::variant_t value;
    return column && row.getValue(column, contents, value) && value == reference.value;
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
        m_footerRow.reset();
    }
    return bk2::error_code_t::success();
}

bk2::error_code_t GridModel::findRow(int& rowToSelect) {
    rowToSelect = getRowCount() == 0 ? -1 : 0;
    const auto column = getGroupingColumn();
    // A copy: opening a row puts other parameters into the model for a while.
    const std::vector<FocusRowReference> references = m_viewParams.focusRowReferences;
    std::size_t depth = 0;
    for (int row = 0; row < getRowCount() && depth < references.size(); ++row) {
        const int level = getRowLevel(row);
        if (level > static_cast<int>(depth)) continue;
        // The subtree of the last match is behind us, and nothing in it went on.
        if (level < static_cast<int>(depth)) break;
        const RowPtr rowPtr = getRowByIndex(row);
        PANEDECK_EXPECT(rowPtr, "row");
        if (!rowPtr || !refersTo(references[depth], *rowPtr, column.get())) continue;
        if (++depth == references.size())
            rowToSelect = row;
        else
            expandRow(row, true, nullptr);
    }
    return bk2::error_code_t::success();
}

} // namespace panedeck
