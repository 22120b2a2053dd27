#pragma once

// Needed by the plain grid handler: a whole tree as one bag.

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/sptr.h"
#include "basekit/variant_bag.h"
#include "dataface/table_tree.h"
#include "notifykit/progress.h"

#include <cstdint>

namespace dataface1 {

/// Writes a table tree into `answer`: `columns` (`arrayOf` "column") with the top columns, child columns
/// nested in a bag `columns` of their parent, each with its `id` "cN", N numbering all columns in preorder,
/// its `caption`, its `flags` (`column_flags_t`), the `format` of its values and, for times, their `timeUnit`
/// in seconds; and `rows` (`arrayOf` "row"): all rows in preorder from `first_row` on, each with `level` and
/// `cells`, one child `c0`, `c1`, … per column that holds `value` (the raw value; a cell without one is an
/// empty child).
///
/// Stops after `limit` rows of all levels: the non-failing status tells that a row was left out. Walks
/// without recursion, polls `progress` by rows, and gives up with "Response size exceeds 100MB limit" at the
/// first row with which the bag does not fit into a frame as XML any more.
PANEDECK_API bk2::error_code_t saveTableTreeToVBag(const bk2::sptr_t<ITableTree>& tree,
                                                   bk2::variant_bag_t& answer, std::uint64_t first_row,
                                                   notifykit2::IProgress* progress, std::uint32_t limit);

} // namespace dataface1
