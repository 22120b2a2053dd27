#pragma once

#include "gridmodel/gridmodel.h"

#include <utility>

namespace panedeck {

/// Carries what is open and the current row over a replacement of the tree: taken at construction, put back
/// at the end.
class GridModel::GridStateGuard {
public:
    GridStateGuard(GridModel& grid, notifykit2::IProgress* progress) : m_grid(grid), m_progress(progress) {
        // Not to be cancelled: what is not saved now is lost.
        m_grid.saveGridRowState(m_state, nullptr);
    }
    ~GridStateGuard() { m_grid.restoreGridRowState(std::move(m_state), m_progress); }
    GridStateGuard(const GridStateGuard&) = delete;
    GridStateGuard& operator=(const GridStateGuard&) = delete;

private:
    GridModel& m_grid;
    notifykit2::IProgress* m_progress;
    GridRowState m_state;
};

/// Shows a row as being opened ("w") for as long as it lives.
class GridModel::ExpandingGuard {
public:
    ExpandingGuard(RowIds& rows, std::uint64_t rowId) : m_rows(rows), m_rowId(rowId) {
        m_rows.insert(m_rowId);
    }
    ~ExpandingGuard() { m_rows.erase(m_rowId); }
    ExpandingGuard(const ExpandingGuard&) = delete;
    ExpandingGuard& operator=(const ExpandingGuard&) = delete;

private:
    RowIds& m_rows;
    std::uint64_t m_rowId;
};

} // namespace panedeck
