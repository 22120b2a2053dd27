#include "basekit/assertion.h"
#include "gridmodel/bar.h"
#include "gridmodel/gridmodel.h"
#include "gridmodel/percent_base.h"

#include <string>

namespace panedeck {

namespace {

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

std::string columnId(int index) {
    return "c" + std::to_string(index);
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
    rowBag.put<bk2::variant_t>("level", bk2::variant_t(level));
    rowBag.put<bk2::variant_t>("state", bk2::variant_t::borrow(isExpanding(id) ? "w" : stateText(state)));
    rowBag.put<bk2::variant_t>("id", bk2::variant_t(std::to_string(id)));
    rowBag.put<bk2::variant_t>("selected", bk2::variant_t(isSelected(row)));
    rowBag.put<bk2::variant_t>("isDivable", bk2::variant_t(isRowDivable(row)));
    bk2::variant_t objectid;
    if (const auto column = getGroupingColumn()) rowKey(*rowPtr, *column, objectid);
    rowBag.put<bk2::variant_t>("objectid", std::move(objectid));
    addExtraRowAttributes(*rowPtr, rowBag);
    saveRowDataToVBag(*rowPtr, level, rowBag);
}

void GridModel::saveRowDataToVBag(const dataface1::ITableRow& row, int level, bk2::variant_bag_t& bag) const {
    bk2::variant_bag_t& cells = bag.add_variant_bag("cells");
    for (const ColumnPtr& column : m_columns)
        saveCellToVBag(row, level, *column, cells.add_variant_bag(columnId(column->getIndex())));
}

void GridModel::saveCellToVBag(const dataface1::ITableRow& row, int level, const GridColumn& column,
                               bk2::variant_bag_t& cell) const {
    const dataface1::IColumnInfo& columnInfo = *column.getColumnInfo();
    cell.put<bk2::variant_t>("value", getCellContent(&row, level, &columnInfo));
    cell.put<bk2::variant_t>("percentageBaseDefault", column.percentBase(row, ""));
    cell.put<bk2::variant_t>("percentageBaseCustomMetric", column.percentBase(row, "percent_by"));
    cell.put<bk2::variant_t>("issueMask", getIssueMask(row, columnInfo));
    cell.put<bk2::variant_t>("isReliable", bk2::variant_t(isReliable(row, columnInfo)));
    if (columnInfo.getFlags() & dataface1::column_data)
        column.getBar()->createInstance(row)->saveToVBag(cell);
}

bool GridModel::saveColumnDataToVBag(int index, bk2::variant_bag_t& bag) const {
    const ColumnPtr column = getColumnByIndex(index);
    PANEDECK_EXPECT(column, "column");
    if (!column) return false;
    bag.put<bk2::variant_t>("id", bk2::variant_t(columnId(index)));
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
