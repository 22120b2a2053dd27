#include "basekit/assertion.h"
#include "gridmodel/gridmodel.h"

namespace panedeck {

GridModel::ColumnPtr GridModel::getColumnByIndex(int index) const {
    const bool valid = index >= 0 && index < getColumnCount();
    PANEDECK_EXPECT(valid, "index >= 0 && index < getColumnCount()");
    return valid ? m_columns[static_cast<std::size_t>(index)] : nullptr;
}

bk2::sptr_t<dataface1::IColumnInfo> GridModel::getColumnInfoByIndex(int index) const {
    const ColumnPtr column = getColumnByIndex(index);
    return column ? column->getColumnInfo() : nullptr;
}

bk2::sptr_t<dataface1::IColumnInfo> GridModel::getGroupingColumn() const {
    for (const ColumnPtr& column : m_columns)
        if (column->getColumnInfo()->getFlags() & dataface1::column_grouping) return column->getColumnInfo();
    return nullptr;
}

std::vector<GridModel::ColumnPtr> GridModel::getVisibleColumns() const {
    std::vector<ColumnPtr> visible;
    panedeck::getVisibleColumns(m_columns, m_columnHierarchy, visible);
    return visible;
}

void GridModel::updateColumnState(const ColumnHierarchy& hierarchy) {
    m_searchHelper.reset();
    m_columnHierarchy = hierarchy;
    updateColumnFormat(m_columns, m_columnHierarchy);
}

} // namespace panedeck
