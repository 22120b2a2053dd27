#include "basekit/assertion.h"
#include "gridmodel/gridmodel.h"
#include "gridmodel/percent_base.h"
#include "gridmodel/raw_values.h"

#include <array>
#include <string_view>

namespace panedeck {

namespace {

/// Tables whose rows have a source to dive into.
constexpr std::array<std::string_view, 9> divable_tables = {
    "dd_callsite",          "dd_code_location",     "dd_basic_block",
    "dd_function_range",    "dd_function_instance", "dd_function",
    "dd_compute_task_type", "dd_region_attributes", "dd_memory_object_info",
};

bool isDivableTable(std::string_view name) {
    for (const std::string_view table : divable_tables)
        if (table == name) return true;
    return false;
}

/// Computing tasks with a call stack below them are no place to dive from.
bool isTaskWithCallStack(const bk2::sptr_t<dataface1::IQuery>& query) {
    if (query->getDisplayName() != "Computing Task") return false;
    const auto vectorQuery = dataface1::IVectorQuery::cast(query);
    const auto members = vectorQuery ? vectorQuery->getQueryIterator() : nullptr;
    for (; members && !members->at_end(); members->next()) {
        const std::string name = members->current()->getName();
        if (name == "Computing Task / Function / Call Stack" ||
            name == "Computing Task / Source Function / Call Stack")
            return true;
    }
    return false;
}

/// An address must not appear negative: the same bits as an unsigned number.
bk2::variant_t asAddress(const bk2::variant_t& value) {
    const bool isUnsigned = value.tag() & 1;
    return bk2::variant_t(isUnsigned ? value.get<bk2::u64_t>()
                                     : static_cast<bk2::u64_t>(value.get<bk2::s64_t>()));
}

} // namespace

bk2::variant_t GridModel::getCellContent(const dataface1::ITableRow* row, int level,
                                         const dataface1::IColumnInfo* columnInfo) const {
    if (!row || !columnInfo) return {};
    for (const ColumnPtr& column : m_columns)
        if (column->getColumnInfo().get() == columnInfo) return getCellContent(*row, level, *column);
    // A column of the tree that the grid does not show.
    const bk2::sptr_t<dataface1::IColumnInfo> column(const_cast<dataface1::IColumnInfo*>(columnInfo));
    return getCellContent(*row, level, GridColumn(-1, column, m_tableTreeHelper, "", "", m_catalog));
}

bk2::variant_t GridModel::getCellContent(const dataface1::ITableRow& row, int level,
                                         const GridColumn& column) {
    bk2::variant_t value;
    if (!row.getValue(column.getColumnInfo().get(), dataface1::cell_value, value)) return {};
    const bool isAddress = column.getValueType(level) == dataface1::query_value_type_t::address;
    return isAddress && value.is_integer() ? asAddress(value) : value;
}

bk2::variant_t GridModel::getCellContentByIndex(int row, int column) const {
    const ColumnPtr gridColumn = getColumnByIndex(column);
    PANEDECK_EXPECT(gridColumn, "column");
    const RowPtr tableRow = getRowByIndex(row);
    return gridColumn && tableRow ? getCellContent(*tableRow, getRowLevel(row), *gridColumn)
                                  : bk2::variant_t();
}

bk2::variant_t GridModel::getIssueMask(const dataface1::ITableRow& row,
                                       const dataface1::IColumnInfo& columnInfo) const {
    bk2::variant_t mask;
    return row.getValue(&columnInfo, dataface1::cell_issue_mask, mask) ? mask : bk2::variant_t();
}

bool GridModel::isReliable(const dataface1::ITableRow& row, const dataface1::IColumnInfo& columnInfo) const {
    bk2::variant_t reliability;
    if (!row.getValue(&columnInfo, dataface1::cell_reliability, reliability)) return true;
    return !reliability.is_integer() || reliability.get<bool>();
}

bk2::variant_t GridModel::getRawValue(const dataface1::ITableRow* row,
                                      const dataface1::IColumnInfo* columnInfo,
                                      const std::string& format) const {
    if (!row || !columnInfo) return {};
    const auto grouping = getGroupingColumn();
    const bool hasBaseRows = grouping && hasUnitDistinctLevel(grouping->getQuery());
    return RawValues(*columnInfo, format, m_tableTreeHelper.get(), hasBaseRows).of(*row);
}

bool GridModel::isRowDivable(int row) const {
    const RowPtr tableRow = getRowByIndex(row);
    const auto column = getGroupingColumn();
    if (!tableRow || !column) return false;
    if (m_gridType == GridTopDown && !tableRow->getParentRow()) return false;
    bk2::variant_t value;
    if (!tableRow->getValue(column.get(), dataface1::cell_value, value) || value.is_null()) return false;
    const auto query = column->getQuery();
    if (query && isTaskWithCallStack(query)) return false;

    const auto own = dataface1::throughVector(tableRow->getQuery());
    const auto [known, added] = m_divable.try_emplace(own.get(), false);
    if (added) known->second = isDivableTable(getQueryTableName(own));
    return known->second;
}

std::string GridModel::getQueryTableName(const bk2::sptr_t<dataface1::IQuery>& query) {
    const auto infoQuery = dataface1::IInfoQuery::cast(query);
    return infoQuery ? infoQuery->getTableName() : std::string();
}

} // namespace panedeck
