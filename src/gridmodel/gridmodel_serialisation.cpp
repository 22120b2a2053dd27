#include "basekit/assertion.h"
#include "gridmodel/bar.h"
#include "gridmodel/gridmodel.h"

#include <string>

namespace panedeck {

namespace {

constexpr std::size_t row_value_count = 6;
constexpr std::size_t cell_value_count = 5;

const char* stateText(RowState state) {
    switch (state) {
    case RowCollapsed:
        return "+";
    case RowExpanded:
        return "-";
    case RowLeaf:
        break;
    }
    return " ";
}

} // namespace

void GridModel::saveRegularRowToVBag(int row, bk2::variant_bag_t& bag) const {
    const RowPtr rowPtr = getRowByIndex(row);
    PANEDECK_EXPECT(rowPtr, "rowPtr");
    if (!rowPtr) return;
    const int level = getRowLevel(row);
    const std::uint64_t id = getRowId(row);
    const RowState state = m_gridType == GridFlatProfile ? RowLeaf : getRowState(row);

    bk2::variant_bag_t& rowBag = bag.add_variant_bag("row");
    rowBag.reserve_values(row_value_count);
    rowBag.reserve_children(1);
    rowBag.append_value("level", bk2::variant_t(level));
    rowBag.append_value("state", bk2::variant_t::borrow(isExpanding(id) ? "w" : stateText(state)));
    rowBag.append_value("id", bk2::variant_t(std::to_string(id)));
    rowBag.append_value("selected", bk2::variant_t(isSelected(row)));
    rowBag.append_value("isDivable", bk2::variant_t(isRowDivable(row)));
    bk2::variant_t objectid;
    // A folded row is known by its first one, as it is when what is open is saved.
    RowPtr provided;
    const auto column = getGroupingColumn();
    if (column && getChainedTableRow(rowPtr, provided).succeeded()) rowKey(*provided, *column, objectid);
    rowBag.append_value("objectid", std::move(objectid));
    addExtraRowAttributes(*rowPtr, rowBag);
    saveRowDataToVBag(*rowPtr, level, rowBag);
}

void GridModel::saveRowDataToVBag(const dataface1::ITableRow& row, int level, bk2::variant_bag_t& bag) const {
    PercentBaseRow baseRow(row);
    bk2::variant_bag_t& cells = bag.add_variant_bag("cells");
    cells.reserve_children(m_columns.size());
    for (const ColumnPtr& column : m_columns)
        saveCellToVBag(row, level, *column, baseRow, cells.add_variant_bag(column->getId()));
}

void GridModel::saveCellToVBag(const dataface1::ITableRow& row, int level, const GridColumn& column,
                               PercentBaseRow& baseRow, bk2::variant_bag_t& cell) const {
    const dataface1::IColumnInfo& columnInfo = *column.getColumnInfo();
    cell.reserve_values(cell_value_count);
    cell.append_value("value", getCellContent(row, level, column));
    cell.append_value("percentageBaseDefault", column.percentBase(baseRow));
    cell.append_value("percentageBaseCustomMetric", column.percentBaseOfMetric(row));
    cell.append_value("issueMask", getIssueMask(row, columnInfo));
    cell.append_value("isReliable", bk2::variant_t(isReliable(row, columnInfo)));
    if (columnInfo.getFlags() & dataface1::column_data)
        column.getBar()->createInstance(row)->saveToVBag(cell);
}

bool GridModel::saveColumnDataToVBag(int index, bk2::variant_bag_t& bag) const {
    const ColumnPtr column = getColumnByIndex(index);
    PANEDECK_EXPECT(column, "column");
    if (!column) return false;
    bag.put<bk2::variant_t>("id", bk2::variant_t(column->getId()));
    addExtraColumnAttributes(*column, bag);
    column->saveToVBag(bag);
    return true;
}

void GridModel::addExtraRowAttributes(const dataface1::ITableRow& row, bk2::variant_bag_t& bag) const {
    if (m_highlighter && m_highlighter->isHighlighted(row))
        bag.put<bk2::variant_t>("isHighlighted", bk2::variant_t(true));
}

void GridModel::addExtraColumnAttributes(const GridColumn&, bk2::variant_bag_t&) const {}

} // namespace panedeck
