#pragma once

#include "basekit/error_code.h"
#include "notifykit/progress.h"
#include "query/query_handles.h"
#include "store/profile_store.h"
#include "store/sample_bits.h"
#include "store/weight.h"
#include "tree/grouping_path.h"
#include "tree/slice_table.h"
#include "tree/stable_array.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

namespace panedeck::engine {

/// Number of a row in its tree; a row's number is greater than its parent's.
using RowIndex = std::uint32_t;
inline constexpr RowIndex no_row = static_cast<RowIndex>(-1);

/// A run of rows.
struct RowRange {
    RowIndex first = 0;
    std::uint32_t count = 0;
};

/// Which of a metric's two numbers.
enum class WeightKind : std::uint8_t { total, self };

/// Order of sibling rows; ties go by text, bytewise, then by the value's number.
struct RowOrder {
    bool by_text = false;             ///< ascending by text, else descending by weight
    std::optional<FunctionFact> fact; ///< which text, if not the row's own
    std::size_t metric = 0;           ///< position in the tree's metrics
    WeightKind kind = WeightKind::self;
};

/// One metric cut by the values of a dimension, as further cells of each row.
struct MetricExpansion {
    std::size_t metric = 0; ///< position in the tree's metrics
    Dimension dimension = Dimension::thread;
};

/// Restricts a tree to what stands under one value of a frame dimension.
struct FocusValue {
    Dimension dimension = Dimension::function;
    DimensionValue value = 0;
};

/// What a tree shows.
struct RowTreeRequest {
    std::shared_ptr<const ProfileStore> store;
    GroupingPath path;
    FrameScope scope = FrameScope::any_frame;
    std::vector<std::size_t> metrics;         ///< numbers of the store, at least one
    std::shared_ptr<const SampleBits> filter; ///< null: all samples
    RowOrder order;
    std::vector<MetricExpansion> expansions;
    std::optional<FocusValue> focus;
    bool focus_is_nothing = false;  ///< there is no such value: no rows
    bool all_rows = false;          ///< top rows also for entries of the dimension table that have no samples
    bool no_leaf_expansion = false; ///< rows of a recursive level have no children
};

/// The rows of one query: which frames and samples each one stands for, and its weights. Top rows are made by
/// `makeTopRows`, children when asked for; rows never move and never go.
///
/// A row of the path stands for samples of a slice (the values of its process and thread levels) and, below a
/// frame level, for a set of stack nodes. With scope `any_frame` its total is the weight of the samples whose
/// stack passes through one of the nodes, each once, and its self the weight of those that end in one; with
/// scope `leaf` both are the latter. Callers regroup a row's nodes by what stands above them, callees go to
/// the nodes' children.
///
/// Reading rows takes no lock and is safe while another thread makes children.
class RowTree {
public:
    explicit RowTree(RowTreeRequest request);

    /// Once, before anything else. Polls `progress`; after a failure the tree is of no use.
    bk2::error_code_t makeTopRows(notifykit2::IProgress* progress);

    RowRange topRows() const { return m_top_rows; }

    /// Whether `children` answers at once. Never waits.
    bool areChildrenAtHand(RowIndex row) const;
    /// The row's children, made now if they are not there yet. After a cancel they can be asked for again.
    bk2::error_code_t children(RowIndex row, notifykit2::IProgress* progress, RowRange& range) const;

    RowIndex parentOf(RowIndex row) const { return m_rows[row]->parent; }
    /// Index of the row's level in the path.
    std::size_t levelOf(RowIndex row) const { return m_rows[row]->level; }
    Segment segmentOf(RowIndex row) const { return m_request.path[levelOf(row)]; }
    DimensionValue valueOf(RowIndex row) const { return m_rows[row]->value; }
    /// Identity of what the row stands for among the rows of its depth, the same in all trees of one result
    /// and path: the value, or for a row of a recursion the first of all stack nodes that it can stand for.
    std::uint32_t objectOf(RowIndex row) const { return m_has_objects ? *m_objects[row] : valueOf(row); }
    /// Null text for the unknown value.
    const bk2::variant_t& textOf(RowIndex row) const;

    /// The row's numbers: total and self of each metric, then of each expansion's values.
    const Weight* cells(RowIndex row) const { return m_cells[row]; }
    static std::size_t cellOf(std::size_t metric, WeightKind kind) {
        return 2 * metric + (kind == WeightKind::self);
    }
    /// `part` counts the values of the expansion.
    std::size_t cellOfExpansion(std::size_t expansion, std::size_t part, WeightKind kind) const {
        return m_expansions[expansion].first_cell + 2 * part + (kind == WeightKind::self);
    }
    /// The values of an expansion's dimension that have samples, ascending.
    std::vector<DimensionValue> expansionValues(std::size_t expansion) const;

    /// How many numbers a row has.
    std::size_t cellsPerRow() const { return m_cells_per_row; }
    /// The sums of the rows' numbers, cell by cell, and of only the self of some others.
    std::vector<Weight> sumOfRows(std::span<const RowIndex> rows, std::span<const RowIndex> self_only) const;
    /// Whether a cell holds an integer.
    bool isIntegerCell(std::size_t cell) const;

    const RowTreeRequest& request() const { return m_request; }
    bool isIntegerMetric(std::size_t metric) const {
        return m_request.store->isIntegerMetric(m_request.metrics[metric]);
    }

    /// What a fact column shows for a value of a level; null if the value stands for no one function, module
    /// or file.
    bk2::variant_t factOf(Segment segment, DimensionValue value, FunctionFact fact) const;

private:
    friend class RowMaker;

    /// No frame level yet: all stack nodes.
    static constexpr std::uint32_t all_nodes = (std::uint32_t{1} << 28) - 1;
    /// The nodes of one value in the store's order for the row's only frame level.
    static constexpr std::uint32_t of_level = all_nodes - 1;
    static constexpr std::uint32_t not_made = static_cast<std::uint32_t>(-1);

    struct Record {
        RowIndex parent;
        DimensionValue value;
        std::uint32_t first_node;      ///< in the pool
        std::uint32_t node_count : 28; ///< in the pool; `of_level` or `all_nodes` if the row has none there
        std::uint32_t level : 3;
        std::atomic<std::uint32_t> child_count; ///< `not_made`, or published after the children
        RowIndex first_child;
    };
    static_assert(sizeof(Record) == 24);

    SliceIndex sliceOf(RowIndex row) const { return m_has_slices ? *m_row_slices[row] : 0; }

    struct Expansion {
        std::size_t first_cell = 0;
        const std::vector<SliceTable::Part>* parts = nullptr;
    };

    RowTreeRequest m_request;
    RowRange m_top_rows;
    std::vector<Expansion> m_expansions;
    std::size_t m_cells_per_row = 0;
    bool m_has_objects; ///< else a row's object is its value
    bool m_has_slices;  ///< else all rows are of slice 0

    mutable StableArray<Record> m_rows;
    mutable StableArray<Weight> m_cells;
    mutable StableArray<std::uint32_t> m_objects;
    mutable StableArray<SliceIndex> m_row_slices;

    /// Guards what follows, and the growth of the arrays above.
    mutable std::mutex m_making;
    mutable SliceTable m_slices;
    /// Stack nodes of rows, a run for each. For callers, `m_cursors` holds beside each node the ancestor that
    /// the row stands for; opening such a row sorts its run in place.
    mutable std::vector<CallsiteIndex> m_nodes;
    mutable std::vector<CallsiteIndex> m_cursors;
};

} // namespace panedeck::engine
