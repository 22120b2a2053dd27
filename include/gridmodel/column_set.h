#pragma once

// The columns of a grid as a whole. A set is the preorder of a column tree; a column's place in it is the
// `dataIndex` by which hierarchies name it.

#include "gridmodel/column_hierarchy.h"
#include "gridmodel/gridcolumn.h"

#include <memory>
#include <vector>

namespace panedeck {

using GridColumns = std::vector<std::shared_ptr<GridColumn>>;

/// What every column of a grid is made with, see `GridColumn`.
struct GridColumnContext {
    std::shared_ptr<dataface1::ITableTreeHelper> helper;
    const portkit2::catalog_t* catalog = nullptr;
    std::string versionText;
    std::string extraVersionText;
};

/// Appends the columns of `columnIterator` and their children to `columns`, and a node for each to
/// `hierarchy`. A total column whose query has "hideTotal" is left out with its children. Stops at a cancel,
/// with what it has so far.
PANEDECK_API void buildColumns(bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>> columnIterator,
                               const GridColumnContext& context, GridColumns& columns,
                               ColumnHierarchy& hierarchy, notifykit2::IProgress* progress);

/// Appends the columns to be seen: a node that is open stands for its children, a collapsed one for itself, a
/// hidden one for nothing. Nodes that name no column are skipped.
PANEDECK_API void getVisibleColumns(const GridColumns& columns, const ColumnHierarchy& hierarchy,
                                    GridColumns& result);

/// Gives each data column the format that its node names, if it names one.
PANEDECK_API void updateColumnFormat(const GridColumns& columns, const ColumnHierarchy& hierarchy);

/// The greatest value in any of the columns; null if there is none.
PANEDECK_API bk2::variant_t getMaxPerUnitOfMeasure(const GridColumns& columns);

/// Stores in each column that has a unit the greatest value over all columns of that unit, as a number of its
/// own: of two columns of times, one may count microseconds and the other nanoseconds.
PANEDECK_API void propagateColumnMaxValues(const GridColumns& columns);

} // namespace panedeck
