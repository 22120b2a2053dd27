#include "dataface/formatter.h"

namespace dataface1 {

namespace {

/// What a cell holds: in the grouping column every level has a query of its own.
bk2::sptr_t<IQuery> cell_query(const IColumnInfo& column, const ITableRow* row) {
    const bool by_level = row && (column.getFlags() & column_grouping);
    return throughVector(by_level ? row->getQuery() : column.getQuery());
}

bk2::variant_t percent_base(const ITableRow& row, const IColumnInfo& column, const std::string& format) {
    bk2::variant_t base;
    if (format == "percent_by")
        row.getValue(&column, cell_percent_base, base);
    else if (format == "percent")
        column.getAttribute(column_total_value, base);
    return base;
}

} // namespace

std::string getFormat(const IColumnInfo& column, const ITableRow* row) {
    return Formatter(cell_query(column, row)).getCurrentFormat();
}

int getSortValueType(const bk2::sptr_t<IQuery>& query) {
    const auto own_query = throughVector(query);
    if (!own_query) return cell_value;
    const auto has_rank = own_query->getAttribute("hasSortRank", bk2::variant_t(false));
    return has_rank.can_get<bool>() && has_rank.get<bool>() ? cell_sort_rank : cell_value;
}

std::string variantToString(const bk2::variant_t& value) {
    return bk2::get_value_string(value);
}

std::string getFormattedCellContents(const ITableRow& row, const IColumnInfo& column) {
    const auto query = cell_query(column, &row);
    bk2::variant_t value;
    row.getValue(&column, cell_value, value);
    if (value.is_null()) {
        const auto info = IInfoQuery::cast(query);
        return info ? info->getAliasForUnknown() : std::string();
    }
    Formatter formatter(query);
    formatter.setSumOfValues(percent_base(row, column, formatter.getCurrentFormat()));
    std::string text;
    formatter.format(value, text);
    return text;
}

std::string getColumnName(const IColumnInfo& column) {
    bk2::variant_t name;
    if (column.getAttribute(column_internal_name, name) && name.is_narrow_text())
        return std::string(name.text());
    const auto query = throughVector(column.getQuery());
    return query ? query->getDisplayName() : std::string();
}

} // namespace dataface1
