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
    const StackMode before = m_stackMode;
    m_stackMode = mode;
    const bool isCurrent = readTopRows(progress);
    if (notifykit2::is_canceled(progress)) m_stackMode = before;
    if (!isCurrent || notifykit2::is_canceled(progress)) return;
    GridRowState state;
    // What is not saved now is lost, and so are the rows: from here on only opening them can be cancelled.
    saveGridRowState(state, nullptr);
    clear();
    loadNewRows(nullptr);
    if (m_viewParams.expandLevels != 0) expandRowsRecursively(progress, 0);
    restoreGridRowState(std::move(state), progress);
}

bool GridModel::readTopRows(notifykit2::IProgress* progress) const {
    const std::uint64_t generation = m_generation;
    if (!m_tree || m_stackMode != ChainMode) return true;
    const auto tree = m_tree;
    {
        DBLock reading(*this);
        readChains(tree->getRows(progress), progress);
    }
    return generation == m_generation;
}

void GridModel::readChains(bk2::iterator_ptr_t<RowPtr> rows, notifykit2::IProgress* progress) {
    for (; rows && !rows->at_end() && !notifykit2::is_canceled(progress); rows->next())
        for (RowPtr link = rows->current(); link && !notifykit2::is_canceled(progress);)
            link = ChainRow::getSingleChildRowOrNull(link);
}

} // namespace panedeck
