#include "gridmodel/chainrow.h"
#include "gridmodel/gridmodel.h"

namespace panedeck {

void GridModel::decorateRow(RowPtr& row) const {
    if (m_stackMode != ChainMode || !ChainRow::canBeBuiltFrom(row)) return;
    row = bk2::make_sptr<ChainRow>(row, getGroupingColumn(), m_gridType);
}

void GridModel::toggleStackMode(const StackMode& mode, notifykit2::IProgress* progress) {
    if (mode == m_stackMode) return;
    m_stackMode = mode;
    GridRowState state;
    saveGridRowState(state, progress);
    clear();
    if (!readTopRows(progress)) return;
    loadNewRows(progress);
    if (m_viewParams.expandLevels != 0) expandRowsRecursively(progress, 0);
    restoreGridRowState(state, progress);
}

bool GridModel::readTopRows(notifykit2::IProgress* progress) {
    const std::uint64_t generation = m_generation;
    if (!m_tree || m_stackMode != ChainMode) return true;
    const auto tree = m_tree;
    {
        DBLock reading(*this);
        const auto rows = tree->getRows(progress);
        for (; rows && !rows->at_end() && !notifykit2::is_canceled(progress); rows->next())
            for (RowPtr link = rows->current(); link && !notifykit2::is_canceled(progress);)
                link = ChainRow::getSingleChildRowOrNull(link);
    }
    return generation == m_generation;
}

} // namespace panedeck
