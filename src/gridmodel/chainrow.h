#pragma once

#include "basekit/ref_counted.h"
#include "dataface/table_tree.h"
#include "gridmodel/grid_view_params.h"

#include <memory>
#include <vector>

namespace panedeck {

class GridColumn;

/// A run of single children with the same numbers, folded into one row: the numbers of its first row, the
/// children of its last, and a text that joins the frames. Immutable after construction.
class ChainRow final : public bk2::ref_counted_t<ChainRow, bk2::mt_ref_count_impl_t, dataface1::ITableRow> {
public:
    using RowPtr = bk2::sptr_t<dataface1::ITableRow>;

    /// Folds what can be folded from `row` downward; `row` itself is always in.
    ChainRow(const RowPtr& row, const bk2::sptr_t<dataface1::IColumnInfo>& groupingColumn, GridType gridType);

    /// True if `row` and its single child both belong to a recursive grouping.
    static bool canBeBuiltFrom(const RowPtr& row);
    /// True for a row of a call tree.
    static bool isRecursive(const RowPtr& row);
    /// Null if there is none, more than one, or the children could not be read.
    static RowPtr getSingleChildRowOrNull(const RowPtr& parent, notifykit2::IProgress* progress = nullptr);
    /// True if all data columns agree.
    static bool containSameData(const RowPtr& row1, const RowPtr& row2);

    /// From the topmost on, never empty.
    const std::vector<RowPtr>& chainedRows() const { return m_chainedRows; }

    bk2::sptr_t<dataface1::IQuery> getQuery() const override;
    RowPtr getParentRow() const override;
    bk2::sptr_t<dataface1::ITableTree> getTableTree() const override;
    bool getValue(const dataface1::IColumnInfo* column, int contents, bk2::variant_t& value) const override;
    int getChildRows(bk2::iterator_ptr_t<RowPtr>& children, notifykit2::IProgress* progress,
                     bool all) const override;

private:
    bk2::variant_t chainText(GridType gridType) const;

    std::vector<RowPtr> m_chainedRows;
    bk2::sptr_t<dataface1::IColumnInfo> m_groupingColumn;
    bk2::variant_t m_text;
};

} // namespace panedeck
