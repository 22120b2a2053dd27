#pragma once

#include "basekit/error_code.h"
#include "basekit/variant.h"
#include "filter/row_paths.h"
#include "notifykit/progress.h"
#include "query/query_handles.h"
#include "tree/row_tree.h"

#include <span>

namespace panedeck::engine {

/// What the cells of a column hold.
struct ColumnContent {
    enum class Kind : std::uint8_t { grouping, fact, weight };
    enum class Side : std::uint8_t { first, second, difference };

    Kind kind = Kind::grouping;
    FunctionFact fact = FunctionFact::module;
    std::size_t metric = 0; ///< position in the tree's metrics
    std::size_t cell = 0;   ///< position in the row's numbers
    Side side = Side::difference;
    std::size_t base_cell = 0;  ///< the same number of the metric that "percent_by" relates to
    bool has_base_cell = false; ///< false: it relates to the column's total
};

/// The rows of a table tree, over one result or two, without the interfaces around them. Reading is safe
/// while another thread makes children.
class TableModel {
public:
    virtual ~TableModel() = default;

    virtual RowRange topRows() const = 0;
    virtual bool areChildrenAtHand(RowIndex row) const = 0;
    virtual bk2::error_code_t children(RowIndex row, notifykit2::IProgress* progress,
                                       RowRange& range) const = 0;
    virtual RowIndex parentOf(RowIndex row) const = 0;
    virtual std::size_t levelOf(RowIndex row) const = 0;

    /// False if the cell has no such content (`dataface1::cell_contents_t`).
    virtual bool value(RowIndex row, const ColumnContent& column, int contents,
                       bk2::variant_t& value) const = 0;
    /// The column's total over the whole result, for differences that of the first result, or of the second
    /// if the first has none; null if the column has none.
    virtual bk2::variant_t total(const ColumnContent& column) const = 0;

    /// The sums of some rows' numbers, and of only the self of some others; what to give to `valueOfSums`.
    virtual std::vector<Weight> sumOfRows(std::span<const RowIndex> rows,
                                          std::span<const RowIndex> self_only) const = 0;
    virtual bool valueOfSums(std::span<const Weight> sums, const ColumnContent& column, int contents,
                             bk2::variant_t& value) const = 0;

    /// What the row stands for on its own level.
    virtual RowLevel rowLevel(RowIndex row) const = 0;
    /// The results that the rows are of, in the order of the numbers in `rowLevel`.
    virtual std::vector<std::shared_ptr<const ProfileStore>> results() const = 0;
    /// Whether the weights are those of leaf frames.
    virtual FrameScope scope() const = 0;
};

} // namespace panedeck::engine
