#include "gridmodel/percent_base.h"

#include "gridmodel/query_attributes.h"

#include <utility>

namespace panedeck {

using bk2::sptr_t;
using bk2::variant_t;
using dataface1::IColumnInfo;
using dataface1::IQuery;
using dataface1::ITableRow;

namespace {

bool isUnitDistinct(const sptr_t<IQuery>& query) {
    return hasAttribute(dataface1::throughVector(query), "unitDistinctQuery", false);
}

/// Whether any row of this row's tree can be a base row. Asked before a walk upward, whose length has no
/// bound.
bool hasBaseRows(const ITableRow& row) {
    const auto tree = row.getTableTree();
    const auto columns = tree ? tree->getColumns(nullptr) : nullptr;
    for (; columns && !columns->at_end(); columns->next())
        if (columns->current()->getFlags() & dataface1::column_grouping)
            return hasUnitDistinctLevel(columns->current()->getQuery());
    return false;
}

/// The nearest row upward, `row` included, whose query is unit distinct. Rows of a recursive level share
/// their query, so each query is asked once.
sptr_t<ITableRow> findBaseRow(const ITableRow& row) {
    sptr_t<ITableRow> base(const_cast<ITableRow*>(&row));
    sptr_t<IQuery> answered;
    for (; base; base = base->getParentRow()) {
        const auto query = base->getQuery();
        if (answered && query == answered) continue;
        if (isUnitDistinct(query)) break;
        answered = query;
    }
    return base;
}

} // namespace

const sptr_t<ITableRow>& PercentBaseRow::get() {
    if (!std::exchange(m_isKnown, true)) m_base = findBaseRow(m_row);
    return m_base;
}

variant_t percentBase(const ITableRow* row, const IColumnInfo* columnInfo, const std::string& format) {
    variant_t base;
    if (!row || !columnInfo) return base;
    if (format == "percent_by") {
        if (!row->getValue(columnInfo, dataface1::cell_percent_base, base)) base.free_data();
        return base;
    }
    const auto baseRow = hasBaseRows(*row) ? findBaseRow(*row) : nullptr;
    const auto baseColumn = findPercentBaseColumn(*columnInfo);
    const bool hasBase = baseRow ? baseRow->getValue(baseColumn.get(), dataface1::cell_value, base)
                                 : baseColumn->getAttribute(dataface1::column_total_value, base);
    if (!hasBase) base.free_data();
    return base;
}

sptr_t<IColumnInfo> findPercentBaseColumn(const IColumnInfo& columnInfo) {
    sptr_t<IColumnInfo> base(const_cast<IColumnInfo*>(&columnInfo));
    while (!isUnitDistinct(base->getQuery())) {
        const auto parent = base->getParentColumn();
        if (!parent || !hasAttribute(dataface1::throughVector(parent->getQuery()), "allowCollapse", true))
            break;
        base = parent;
    }
    return base;
}

bool hasUnitDistinctLevel(const sptr_t<IQuery>& grouping) {
    for (auto level = grouping; level; level = level->getLevelBelow())
        if (isUnitDistinct(level)) return true;
    return false;
}

} // namespace panedeck
