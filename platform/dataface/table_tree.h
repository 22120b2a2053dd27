#pragma once

// Needed by the grids: what a query's result looks like.

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/generic_iterator.h"
#include "basekit/object_interface.h"
#include "basekit/sptr.h"
#include "basekit/variant.h"
#include "dataface/query.h"
#include "notifykit/progress.h"

#include <cstdint>
#include <vector>

namespace dataface1 {

class ITableTree;
class ITableRow;
class IColumnInfo;
class IQueryFilter;

/// What can be read from a cell.
enum cell_contents_t : int {
    cell_value = 0,
    cell_object_id =
        7, ///< identity of the row's object, the same in all trees of one result (grouping column)
    cell_reliability = 14,  ///< a number, 0 means unreliable
    cell_percent_base = 16, ///< base of "percent_by"
    cell_issue_mask = 17,   ///< bits of the column query's issues
    cell_sort_rank = 18,    ///< an order of texts, where the provider has one at hand
    cell_chain_front = 19,  ///< asked with a null column: the real row that a folded row stands for
};

/// Flags of a column. Total, self and the value kinds tell columns of one query apart.
enum column_flags_t : std::uint32_t {
    column_grouping = 0x1,
    column_info = 0x2,
    column_data = 0x4,
    column_self = 0x10,
    column_total = 0x20,
    column_first = 0x100,      ///< value of the first result
    column_second = 0x200,     ///< value of the second result
    column_difference = 0x400, ///< their difference
    column_value_kinds = 0x700,
};

/// Attributes of a column.
enum column_attribute_t : int {
    column_color = 4,         ///< packed colour (`packColor`)
    column_internal_name = 6, ///< text, unique within the tree
    column_total_value = 8,   ///< the column's total over the whole result
};

/// What rows and columns share: children that are made on demand.
class PANEDECK_API ITreeNode : public bk2::object_interface_t {
public:
    /// Answers of the child iteration. `ecsfError` is -1 and thus has every bit set: test for it first.
    enum child_status_t : int {
        ecsfError = -1,
        ecsfUnknown = 0,  ///< asking for all of them may take long
        ecsfAtHand = 0x2, ///< asking for all of them is quick; also where there are known to be none
    };

protected:
    ~ITreeNode() override;
};

/// A column. Immutable.
class PANEDECK_API IColumnInfo : public ITreeNode {
public:
    virtual bk2::sptr_t<IQuery> getQuery() const = 0;
    virtual std::uint32_t getFlags() const = 0;
    /// False if the column has no such attribute.
    virtual bool getAttribute(column_attribute_t attribute, bk2::variant_t& value) const = 0;
    virtual bk2::sptr_t<IColumnInfo> getParentColumn() const = 0;
    /// Gives the child columns; an empty iterator if there are none.
    virtual int getChildColumns(bk2::iterator_ptr_t<bk2::sptr_t<IColumnInfo>>& children,
                                notifykit2::IProgress* progress, bool all) const = 0;

protected:
    ~IColumnInfo() override;
};

/// A row of a table tree. The same row is the same object on every iteration of one tree, so its address
/// names it; a reference to a row keeps its tree's memory. Reading is safe from several threads, also while
/// another one makes children.
class PANEDECK_API ITableRow : public ITreeNode {
public:
    /// The grouping level of this row: a vector query that stands for the level's info query.
    virtual bk2::sptr_t<IQuery> getQuery() const = 0;
    /// Null at the top.
    virtual bk2::sptr_t<ITableRow> getParentRow() const = 0;
    virtual bk2::sptr_t<ITableTree> getTableTree() const = 0;
    /// Reads a cell without allocating for numbers. False if the cell has no such content; `value` is then
    /// null.
    virtual bool getValue(const IColumnInfo* column, int contents, bk2::variant_t& value) const = 0;
    /// With `all` false only tells whether the children are at hand, never waits and gives no iterator. With
    /// `all` true makes them, polling `progress`. Children once made are kept.
    virtual int getChildRows(bk2::iterator_ptr_t<bk2::sptr_t<ITableRow>>& children,
                             notifykit2::IProgress* progress, bool all) const = 0;

protected:
    ~ITableRow() override;
};

/// The result of a query: columns, and rows that are made when asked for. A snapshot: a later change of
/// filters or data does not alter it.
class PANEDECK_API ITableTree : public bk2::object_interface_t {
public:
    /// The top rows. May take long; null on cancel.
    virtual bk2::iterator_ptr_t<bk2::sptr_t<ITableRow>> getRows(notifykit2::IProgress* progress) const = 0;
    /// The top columns.
    virtual bk2::iterator_ptr_t<bk2::sptr_t<IColumnInfo>>
    getColumns(notifykit2::IProgress* progress) const = 0;

    // Further facets of a tree are found with bk2::interface_cast: IFilterTableTree, IReducibleTableTree,
    // IColumnStatistics.

protected:
    ~ITableTree() override;
};

/// A tree that can express rows as a filter.
class PANEDECK_API IFilterTableTree : public bk2::object_interface_t {
public:
    /// How rows become conditions. In a bottom-up tree a row is a path from the leaf upward, else from the
    /// root downward.
    enum filter_mode_t : int {
        rows_with_parents = 0, ///< each row together with the rows above it
        rows_as_paths = 1,     ///< the same, for trees that run from the root
        rows_alone = 2,        ///< the row's own object, wherever it stands
    };

    /// A filter that lets through what any of the rows stands for. It holds values, not rows, so any result
    /// can resolve it.
    virtual bk2::error_code_t createFilter(const std::vector<bk2::sptr_t<ITableRow>>& rows, int reserved,
                                           int mode, bk2::sptr_t<IQueryFilter>& filter, int flag) const = 0;

protected:
    ~IFilterTableTree() override;
};

/// A tree that can sum rows up.
class PANEDECK_API IReducibleTableTree : public bk2::object_interface_t {
public:
    /// One row with the sums of the given ones, in which no sample counts twice: a row below another of them
    /// adds only what the other one does not have of it. Null if it cannot be made.
    virtual bk2::sptr_t<ITableRow> reduce(const std::vector<bk2::sptr_t<ITableRow>>& rows,
                                          int reserved) const = 0;

protected:
    ~IReducibleTableTree() override;
};

/// A tree that knows the extremes of its columns without being walked. False if the column holds no numbers
/// or there is no row.
///
/// Bars are drawn on these scales: no number in any row, at whatever level, lies above a column's maximum or
/// below its minimum. Where exact ones would cost a walk of all rows, bounds serve. The sum is that of the
/// top rows.
class PANEDECK_API IColumnStatistics : public bk2::object_interface_t {
public:
    virtual bool getColumnMaximum(const IColumnInfo& column, bk2::variant_t& value) const = 0;
    virtual bool getColumnMinimum(const IColumnInfo& column, bk2::variant_t& value) const = 0;
    virtual bool getColumnSum(const IColumnInfo& column, bk2::variant_t& value) const = 0;

protected:
    ~IColumnStatistics() override;
};

} // namespace dataface1
