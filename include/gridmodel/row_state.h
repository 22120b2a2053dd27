#pragma once

#include <cstdint>

namespace panedeck {

/// Whether a visible row shows children. The numbers are those of the wire's texts "+", "-" and " ".
enum RowState : std::int32_t {
    RowCollapsed = 0, ///< the row can have children, they are not visible
    RowExpanded = 1,  ///< the row's children are visible, or are about to be
    RowLeaf = 2,      ///< the row is known to have no children
};

/// One visible row. Rows stand in preorder; a child is one level below its parent, top rows are at level 0.
template <class RowID>
struct RowRecord {
    RowState state = RowCollapsed;
    std::int32_t level = 0;
    RowID id{};
};

/// A row among its siblings while they are sorted: `index` is where it stood before.
template <class RowID>
struct sortable_item_t {
    RowID id{};
    RowState state = RowCollapsed;
    std::int32_t index = 0;
};

/// What an expansion did: the row that was expanded, -1 if none was, and the rows that it gained.
struct ExpandedRows {
    int row = -1;
    int gained = 0;
};

} // namespace panedeck
