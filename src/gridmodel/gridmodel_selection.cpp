#include "basekit/assertion.h"
#include "gridmodel/gridmodel.h"

#include <vector>

namespace panedeck {

bk2::error_code_t GridModel::processRowSelection(int row, std::uint64_t rowId, int type) {
    if (rowId != 0) row = getRowIndexById(row, rowId, false);
    if (type != SelectAll && type != SelectClear && !isRowValid(row))
        return bk2::error_code_t::raise(bk2::kinds::is_not, "Invalid grid view parameters specified.",
                                        __func__, __LINE__);
    if (type == SelectAll) m_selectedRows->reserve(static_cast<std::size_t>(rowCount()));
    m_selectedRows->process(row, type);
    forgetUnrestoredFocus();
    return createFooterRow();
}

void GridModel::clearSelection() {
    m_selectedRows->clear();
    m_footerRow.reset();
}

bool GridModel::isSelected(int row) const {
    return isRowValid(row) && m_selectedRows->isSelected(shownRow(row));
}

int GridModel::getCurrentRow() const {
    return m_selectedRows->getCurrentRow();
}

std::size_t GridModel::getSelectedCount() const {
    return m_selectedRows->size();
}

SelectionState GridModel::popSelectionState() {
    SelectionState state;
    state.changed = m_selectedRows->isChanged();
    const bk2::error_code_t err = getFilterBySelectedRows(state.filter);
    PANEDECK_EXPECT(err.succeeded(), "err.succeeded()");
    state.cleared = err.is_nothing_done();
    m_selectedRows->resetChanged();
    return state;
}

bk2::error_code_t GridModel::getFilterBySelectedRows(bk2::sptr_t<dataface1::IQueryFilter>& filter) const {
    if (m_selectedRows->empty()) return bk2::error_code_t::nothing_done();
    std::vector<RowPtr> rows;
    PANEDECK_PASS_ON(getSelectedProviderRows(rows));
    const auto filterTree = bk2::interface_cast<dataface1::IFilterTableTree>(m_tree);
    if (!filterTree) return bk2::error_code_t::raise(bk2::kinds::is_not, "", __func__, __LINE__);
    return filterTree->createFilter(rows, 0, dataFilterMode(), filter, 0);
}

bk2::error_code_t GridModel::getSelectedProviderRows(std::vector<RowPtr>& rows) const {
    rows.reserve(m_selectedRows->size());
    // The set gives rows in an order that jumps about in memory: have the machine look for some while others
    // are read.
    constexpr int rows_ahead = 16;
    auto ahead = m_selectedRows->begin();
    for (int i = 0; i < rows_ahead && ahead != m_selectedRows->end(); ++i)
        ++ahead;
    for (const RowPtr& selectedRow : *m_selectedRows) {
        if (ahead != m_selectedRows->end()) __builtin_prefetch((ahead++)->get());
        PANEDECK_REQUIRE(selectedRow, "selectedRow", bk2::kinds::is_not_valid_state,
                         "GridModel.m_selectedRows");
        RowPtr provided;
        const bk2::error_code_t err = getChainedTableRow(selectedRow, provided);
        PANEDECK_EXPECT(err.succeeded(), "err.succeeded()");
        if (err.failed()) return err;
        rows.push_back(std::move(provided));
    }
    return bk2::error_code_t::success();
}

int GridModel::dataFilterMode() const {
    return m_gridType == GridBottomUp ? dataface1::IFilterTableTree::rows_with_parents
                                      : dataface1::IFilterTableTree::rows_as_paths;
}

} // namespace panedeck
