#include "gridmodel/gridmodel.h"

#include <algorithm>
#include <cstdint>

namespace panedeck {

GridModel::RowPtr GridModel::getRowByIndex(int row) const {
    return isRowValid(row) ? getRowID(row)->data : RowPtr();
}

std::uint64_t GridModel::getRowIdByPtr(const dataface1::ITableRow* row) {
    return reinterpret_cast<std::uintptr_t>(row);
}

std::uint64_t GridModel::getRowId(int row) const {
    return isRowValid(row) ? getRowIdByPtr(getRowID(row)->data.get()) : 0;
}

int GridModel::getRowIndexById(int row, std::uint64_t rowId, bool searchAll) const {
    if (isRowValid(row) && getRowId(row) == rowId) return row;
    const std::int64_t rowCount = getRowCount();
    const std::int64_t first = searchAll ? 0 : std::max(m_viewParams.startRow, 0);
    const std::int64_t last = searchAll ? rowCount : std::min(first + m_viewParams.rowCount, rowCount);
    for (std::int64_t candidate = first; candidate < last; ++candidate)
        if (getRowId(static_cast<int>(candidate)) == rowId) return static_cast<int>(candidate);
    return -1;
}

} // namespace panedeck
