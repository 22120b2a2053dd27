#pragma once

#include "basekit/error_code.h"
#include "query/engine_input.h"
#include "tree/tree_columns.h"

#include <string>
#include <vector>

namespace panedeck::engine {

/// What a query was asked for, before it is known what that means for a result.
struct TreeWish {
    int type_and_flags = 0;
    bk2::sptr_t<dataface1::IQuery> grouping;
    bk2::sptr_t<dataface1::IQuery> sort;  ///< may be null
    bk2::sptr_t<dataface1::IQuery> focus; ///< may be null
    bk2::variant_t focus_id;
    std::vector<bk2::sptr_t<dataface1::IQuery>> columns; ///< single queries
};

/// The columns of the tree and, for one result, what its rows are. The path follows the grouping; in the two
/// selection trees it ends in callers or callees of the focus.
struct TreePlan {
    ShownColumns columns;
    RowTreeRequest rows;
};

/// Works out what a wish means for `input`; the filter is left open. With `is_compared`, columns are those of
/// two results and metrics that this one lacks are left out of its rows.
bk2::error_code_t planTree(const TreeWish& wish, const EngineInput& input, bool is_compared, TreePlan& plan);

} // namespace panedeck::engine
