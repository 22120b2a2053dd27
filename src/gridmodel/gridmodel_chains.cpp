#include "gridmodel/chainrow.h"
#include "gridmodel/gridmodel.h"

#include <utility>

namespace panedeck {

void GridModel::decorateRow(RowPtr& row) const {
    if (m_stackMode != ChainMode || !ChainRow::canBeBuiltFrom(row)) return;
    row = bk2::make_sptr<ChainRow>(row, getGroupingColumn(), m_gridType);
}

void GridModel::toggleStackMode(const StackMode& mode, notifykit2::IProgress* progress) {
    if (mode == m_stackMode) return;
    // Before the mode changes: as long as the lock can be given up, mode and rows are to agree.
    if (mode == ChainMode && !readTopChains(progress)) return;
    if (notifykit2::is_canceled(progress) || mode == m_stackMode) return;
    m_stackMode = mode;
    GridRowState state;
    // What is not saved now is lost, and so are the rows: from here on only opening them can be cancelled.
    saveGridRowState(state, nullptr);
    clear();
    // Folded rows are gone, and others may come to lie where they were.
    m_expandingRows.clear();
    const std::uint64_t generation = m_generation;
    loadNewRows(nullptr);
    if (m_viewParams.expandLevels != 0) expandRowsRecursively(progress, 0);
    if (generation == m_generation) restoreGridRowState(std::move(state), progress);
}

bool GridModel::readTopChains(notifykit2::IProgress* progress) const {
    std::uint64_t generation = 0;
    // Once more if the tree was replaced meanwhile.
    do {
        if (!m_tree) return true;
        generation = m_generation;
        const auto tree = m_tree;
        DBLock reading(*this);
        readChains(tree->getRows(progress), progress);
    } while (generation != m_generation && !notifykit2::is_canceled(progress));
    return generation == m_generation;
}

void GridModel::readChains(bk2::iterator_ptr_t<RowPtr> rows, notifykit2::IProgress* progress) {
    for (; rows && !rows->at_end() && !notifykit2::is_canceled(progress); rows->next()) {
        // No further than folding looks, or each row of a long path would read all that is below it.
        const RowPtr first = rows->current();
        for (RowPtr link = first; link && ChainRow::isRecursive(link) &&
                                  ChainRow::containSameData(first, link) &&
                                  !notifykit2::is_canceled(progress);)
            link = ChainRow::getSingleChildRowOrNull(link, progress);
    }
}

} // namespace panedeck
