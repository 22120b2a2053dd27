#pragma once

#include "basekit/variant.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace panedeck {

/// Identifies a row by content: one level of a path from the top of a tree down.
struct FocusRowReference {
    std::string type; ///< "objectid": the value is an object id (contents 7), else a value (contents 0)
    bk2::variant_t value;
};

/// The window and the focus of a grid request.
struct GridViewParams {
    std::string gridId;
    std::string grouping; ///< a change drops what was expanded and sorted
    int startRow = -1;    ///< first row of the window
    std::uint64_t rowId = std::numeric_limits<std::uint64_t>::max();
    int rowCount = 0;            ///< rows in the window
    int expandLevels = 0;        ///< levels to open after a refresh
    int expandedRow = -1;        ///< filled by an expansion: the row that was opened
    int expandedCount = 0;       ///< filled by an expansion: the rows that it gained
    std::string focusColumnName; ///< column to sort by when positioning
    std::vector<FocusRowReference> focusRowReferences;
};

/// What kind of tree a grid shows.
enum GridType : std::int32_t {
    GridAutomatic = 0,
    GridBottomUp = 1,
    GridTopDown = 2,
    GridFlatProfile = 3,
    GridSelectionParentTree = 4,
    GridSelectionChildTree = 5,
};

/// Whether runs of single children show as rows of their own or folded into one.
enum StackMode : std::int32_t {
    KeepStackMode = 0,
    TreeMode = 1,
    ChainMode = 2,
};

/// What is asked of a grid; tells the answer what to write.
enum RequestType : int {
    ExpandRequest = 0,
    CollapseRequest = 1,
    ScrollRequest = 2,
    SortRequest = 3,
    RefreshRequest = 4,
    ChangeStackModeRequest = 5,
    SelectRequest = 6,
    CollapseAllRowsRequest = 7,
    ExpandSelectedRowsRequest = 8,
    ExpandRowsRecursivelyRequest = 9,
    PositionRequest = 10,
};

} // namespace panedeck
