#pragma once

#include "basekit/api.h"
#include "basekit/variant.h"
#include "dataface/table_tree.h"

#include <string>

namespace panedeck {

/// The 100% of a cell. For "percent_by" the cell's own base (contents 16); for any other format the value of
/// the base column in the base row: the nearest row upward whose query has "unitDistinctQuery" (none: the
/// column's total), and the column reached by going up while parents allow it. Null if there is none, also
/// for a null row or column.
///
/// Where many cells of a column are read, `GridColumn::percentBase` gives the same at less cost.
PANEDECK_API bk2::variant_t percentBase(const dataface1::ITableRow* row,
                                        const dataface1::IColumnInfo* columnInfo, const std::string& format);

/// The base row of one row's cells, looked for when it is first asked for: one search serves all columns.
class PANEDECK_API PercentBaseRow {
public:
    /// `row` outlives this object.
    explicit PercentBaseRow(const dataface1::ITableRow& row) : m_row(row) {}

    /// The nearest row upward, the row included, whose query has "unitDistinctQuery"; null if there is none.
    /// Cost: the depth of the row, once.
    const bk2::sptr_t<dataface1::ITableRow>& get();

private:
    const dataface1::ITableRow& m_row;
    bk2::sptr_t<dataface1::ITableRow> m_base;
    bool m_isKnown = false;
};

/// The column whose values are the 100% of this one's.
PANEDECK_API bk2::sptr_t<dataface1::IColumnInfo>
findPercentBaseColumn(const dataface1::IColumnInfo& columnInfo);

/// True if a level of that grouping has "unitDistinctQuery". Only then has any row a base row.
PANEDECK_API bool hasUnitDistinctLevel(const bk2::sptr_t<dataface1::IQuery>& grouping);

} // namespace panedeck
