#include "gridmodel/gridmodel.h"

#include <algorithm>
#include <cstdint>

namespace panedeck {

bool GridModel::validateAndSetViewParams(const GridViewParams& params) {
    if (params.startRow < 0 || params.rowCount <= 0) return false;
    m_viewParams = params;
    return true;
}

GridViewParams GridModel::fitViewParams() {
    // In 64 bits: a pane may ask for 2^31 - 1 rows from anywhere.
    const std::int64_t rows = getRowCount();
    std::int64_t start = m_viewParams.startRow;
    if (start + m_viewParams.rowCount > rows) start = rows - m_viewParams.rowCount;
    m_viewParams.startRow = static_cast<int>(std::max<std::int64_t>(start, 0));
    return m_viewParams;
}

void GridModel::centerViewByCurrentRow() {
    if (getCurrentRow() >= 0) m_viewParams.startRow = getCurrentRow() - m_viewParams.rowCount / 2;
}

} // namespace panedeck
