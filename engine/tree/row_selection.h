#pragma once

#include "filter/row_paths.h"
#include "tree/table_model.h"

#include <vector>

namespace panedeck::engine {

// What a person has selected: a few rows, or all rows of a large tree. Every cost here is the number of the
// rows and of those above them, whatever else the tree has made.

/// Rows of a selection, ascending and each once.
struct SelectedRows {
    /// Those that stand below no other one.
    std::vector<RowIndex> outermost;
    /// Of the others those whose self is not part of an outermost one's: frames of a stack below frames of
    /// it.
    std::vector<RowIndex> deeper_frames;
};

SelectedRows splitSelection(const TableModel& model, std::vector<RowIndex> rows);

/// The rows' paths from the top down.
RowPaths pathsTo(const TableModel& model, const std::vector<RowIndex>& rows);

/// What each row itself stands for, wherever it stands: frames of a call stack as functions.
RowPaths ownLevels(const TableModel& model, const std::vector<RowIndex>& rows);

} // namespace panedeck::engine
