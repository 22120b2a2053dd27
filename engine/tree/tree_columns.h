#pragma once

#include "tree/row_tree.h"
#include "tree/tree_column.h"

#include <memory>
#include <vector>

namespace panedeck::engine {

/// A metric that a tree shows, by its position in the tree's metrics and, if it is expanded, among the tree's
/// expansions.
struct ShownMetric {
    bk2::sptr_t<dataface1::IQuery> query;
    std::size_t metric = 0;
    std::optional<std::size_t> expansion;
};

/// What the columns of a tree show, in order.
struct ShownColumns {
    bk2::sptr_t<dataface1::IQuery> grouping;
    std::vector<bk2::sptr_t<dataface1::IQuery>> facts; ///< queries with a `FactHandle`
    std::vector<ShownMetric> metrics;
    bool has_totals = true;   ///< false: self columns only, as in a bottom-up tree
    bool is_compared = false; ///< each number gets three children: first, second, difference
};

/// The columns of a tree: grouping, facts, then per metric total and self, each with its children. `rows`
/// tells the values of expansions.
std::vector<std::unique_ptr<TreeColumn>> makeColumns(const ShownColumns& shown, const RowTree& rows);

} // namespace panedeck::engine
