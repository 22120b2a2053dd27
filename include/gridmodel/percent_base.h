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

/// The column whose values are the 100% of this one's.
PANEDECK_API bk2::sptr_t<dataface1::IColumnInfo>
findPercentBaseColumn(const dataface1::IColumnInfo& columnInfo);

/// True if a level of that grouping has "unitDistinctQuery". Only then has any row a base row.
PANEDECK_API bool hasUnitDistinctLevel(const bk2::sptr_t<dataface1::IQuery>& grouping);

} // namespace panedeck
