#include "gridmodel/chainrow.h"
#include "gridmodel/grid_state_guard.h"
#include "gridmodel/gridmodel.h"
#include "logkit/component_logger.h"

#include <utility>

namespace panedeck {

void GridModel::expandRow(int row, bool expand, notifykit2::IProgress* progress) {
    m_searchHelper.reset();
    // Another request may replace the parameters while the lock is given up.
    GridViewParams params = m_viewParams;
    const ExpandedRows expanded = onExpandRow(row, expand, progress);
    // Hits of a search that got the lock meanwhile were in other rows.
    m_searchHelper.reset();
    params.expandedRow = expanded.row;
    params.expandedCount = expanded.gained;
    m_viewParams = std::move(params);
}

ExpandedRows GridModel::onExpandRow(int row, bool expand, notifykit2::IProgress* progress) {
    if (!isRowValid(row)) {
        logkit1::log(logkit1::level_t::error, "GridModel::onExpandRow: Incorrect row id is specified");
        return {};
    }
    const std::uint64_t id = getRowId(row);
    ExpandingGuard showsWaiting(m_expandingRows, id);
    const RowPtr rowPtr = getRowByIndex(row);
    if (!rowPtr) return {};

    if (isLoadWanted(*getItemByRow(row))) preloadChildRows(rowPtr, progress);
    if (notifykit2::is_canceled(progress)) return {};
    // The rows may have moved meanwhile. A row that left the window stays closed; its children are loaded.
    const int index = getRowIndexById(row, id, false);
    if (!isRowValid(index)) return {};
    if (!expand) return collapse(index, rowPtr, progress);
    const ExpandedRows opened = Model::onExpandRow(index, true, progress);
    return notifykit2::is_canceled(progress) ? ExpandedRows{} : opened;
}

ExpandedRows GridModel::collapse(int row, const RowPtr& rowPtr, notifykit2::IProgress* progress) {
    // The block that is about to vanish holds all selected rows below this one: what was closed before gave
    // its selection up.
    SelectedItems<RowPtr>::Set hidden;
    for (int below = row + 1, end = row + calcSubItems(row); below <= end; ++below)
        if (isSelected(below)) hidden.insert(shownRow(below));
    forgetUnrestored(*getItemByRow(row));
    Model::onExpandRow(row, false, progress);
    if (notifykit2::is_canceled(progress)) return {};
    if (!hidden.empty()) moveSelectionFromChildrenToCollapsedParent(hidden, rowPtr);
    return {};
}

void GridModel::moveSelectionFromChildrenToCollapsedParent(const SelectedItems<RowPtr>::Set& hidden,
                                                           const RowPtr& parent) {
    m_selectedRows->replaceIf([&](const RowPtr& row) { return hidden.contains(row); }, parent);
    // Its sums are those of another selection now.
    m_footerRow.reset();
}

bool GridModel::preloadChildRows(const RowPtr& row, notifykit2::IProgress* progress) const {
    // What the model says is asked now: while the lock is given up others may change it.
    const bool chains = m_stackMode == ChainMode;
    if (!row) {
        const auto tree = m_tree;
        DBLock reading(*this);
        return tree && tree->getRows(progress);
    }
    if (areChildrenAtHand(*row)) return true;
    DBLock reading(*this);
    return readChildRows(row, chains, progress);
}

bool GridModel::areChildrenAtHand(const dataface1::ITableRow& row) const {
    // Folding looks further down than to the children.
    if (m_stackMode == ChainMode) return false;
    bk2::iterator_ptr_t<RowPtr> unused;
    const int status = row.getChildRows(unused, nullptr, false);
    return status != dataface1::ITreeNode::ecsfError && (status & dataface1::ITreeNode::ecsfAtHand);
}

bool GridModel::readChildRows(const RowPtr& row, bool chains, notifykit2::IProgress* progress) {
    bk2::iterator_ptr_t<RowPtr> children;
    if (row->getChildRows(children, progress, true) == dataface1::ITreeNode::ecsfError) return false;
    if (chains) readChains(std::move(children), progress);
    return true;
}

void GridModel::expandRowsRecursively(notifykit2::IProgress* progress, int levels) {
    m_searchHelper.reset();
    GridViewParams params = m_viewParams;
    std::vector<Item*> opened;
    const std::uint64_t generation = m_generation;
    const bool finished = loadLevels(levels, opened, progress);
    if (generation == m_generation) showOpened(opened, finished);
    m_viewParams = std::move(params);
}

bool GridModel::loadLevels(int levels, std::vector<Item*>& loaded, notifykit2::IProgress* progress) {
    struct Step {
        Item* parent;
        std::size_t next;
    };
    std::vector<Step> path{{&root(), 0}};
    while (!path.empty()) {
        Step& siblings = path.back();
        if (!siblings.parent->children() || siblings.next == siblings.parent->children()->size()) {
            path.pop_back();
            continue;
        }
        Item& item = (*siblings.parent->children())[siblings.next++];
        if (notifykit2::is_canceled(progress)) return false;
        if (!loadItem(item, loaded, progress)) return false;
        if (levels == 0 || static_cast<int>(path.size()) < levels) path.push_back({&item, 0});
    }
    return true;
}

bool GridModel::loadItem(Item& item, std::vector<Item*>& loaded, notifykit2::IProgress* progress) {
    if (isLoadWanted(item)) {
        const std::uint64_t generation = m_generation;
        if (!areChildrenAtHand(*item.data)) {
            const RowPtr row = item.data;
            ExpandingGuard showsWaiting(m_expandingRows, getRowIdByPtr(row.get()));
            preloadChildRows(row, progress);
        }
        // A refresh in between has freed the items.
        if (generation != m_generation || notifykit2::is_canceled(progress)) return false;
        const int count = loadItems(item, progress);
        PANEDECK_EXPECT(count >= 0, "count >= 0");
        if (count < 0) return true;
    }
    loaded.push_back(&item);
    return true;
}

void GridModel::showOpened(const std::vector<Item*>& opened, bool finished) {
    m_searchHelper.reset();
    for (Item* item : opened)
        item->expanded = true;
    if (finished)
        openWantedRows(getCurrentRow());
    else
        openWantedRowsQuietly();
}

void GridModel::expandSelectedRows(notifykit2::IProgress* progress) {
    m_searchHelper.reset();
    GridViewParams params = m_viewParams;
    std::vector<Item*> selected, opened;
    for (int row = 0; row < getRowCount(); ++row)
        if (isSelected(row)) selected.push_back(getItemByRow(row));
    for (const RowPtr& row : *m_selectedRows)
        m_expandingRows.insert(getRowIdByPtr(row.get()));
    const std::uint64_t generation = m_generation;
    const bool finished = loadSelected(selected, opened, progress);
    if (generation == m_generation) showOpened(opened, finished);
    m_viewParams = std::move(params);
}

bool GridModel::loadSelected(const std::vector<Item*>& selected, std::vector<Item*>& loaded,
                             notifykit2::IProgress* progress) {
    for (auto item = selected.rbegin(); item != selected.rend(); ++item) {
        if (notifykit2::is_canceled(progress)) return false;
        const std::uint64_t id = getRowIdByPtr((*item)->data.get());
        const bool goesOn = loadItem(**item, loaded, progress);
        m_expandingRows.erase(id);
        if (!goesOn) return false;
    }
    return true;
}

void GridModel::collapseAllRows(notifykit2::IProgress* progress) {
    m_searchHelper.reset();
    if (notifykit2::is_canceled(progress)) return;
    if (!m_selectedRows->empty()) moveSelectionToTopRows();
    forgetUnrestoredRows();
    closeAllRows(getCurrentRow());
}

void GridModel::moveSelectionToTopRows() {
    SelectedItems<RowPtr>::Set remaining;
    RowPtr top;
    bool moved = false;
    for (int row = 0; row < getRowCount(); ++row) {
        if (getRowLevel(row) == 0) top = shownRow(row);
        if (!isSelected(row)) continue;
        moved = moved || getRowLevel(row) > 0;
        remaining.insert(top);
    }
    if (!moved) return;
    m_selectedRows->assign(std::move(remaining));
    m_footerRow.reset();
}

} // namespace panedeck
