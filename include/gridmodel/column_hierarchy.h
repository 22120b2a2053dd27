#pragma once

#include "basekit/api.h"

#include <string>
#include <vector>

namespace panedeck {

/// What a pane did to a column, and the same for its child columns. The root of a grid's hierarchy stands for
/// no column.
///
/// A pane may send it nested as deep as it likes: destroying and copying do not recurse, and whoever walks
/// one does so with a stack of its own and checks `dataIndex` before using it.
struct PANEDECK_API ColumnHierarchy {
    int dataIndex = -1; ///< the column's place in the preorder of all columns
    bool isCollapsed = false;
    bool isHidden = false;
    std::string format; ///< empty: the column's own
    std::vector<ColumnHierarchy> children;

    ColumnHierarchy() = default;
    ColumnHierarchy(const ColumnHierarchy& other);
    ColumnHierarchy(ColumnHierarchy&& other) noexcept = default;
    ColumnHierarchy& operator=(ColumnHierarchy other) noexcept;
    ~ColumnHierarchy();
};

} // namespace panedeck
