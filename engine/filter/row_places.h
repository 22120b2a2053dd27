#pragma once

#include "basekit/error_code.h"
#include "filter/row_paths.h"
#include "notifykit/progress.h"

#include <cstdint>
#include <map>
#include <vector>

namespace panedeck::engine {

/// A yes or no for each entry of a table.
using Flags = std::vector<std::uint8_t>;

/// The stack nodes that rows stand for, by the threads that they are cut down to; empty threads stand for
/// all.
using NodesByThreads = std::map<Flags, Flags>;

/// Finds the stack nodes of rows in `store`, which may be another result than the rows are from: a level that
/// it does not have stands for nothing. Walks the paths from the top down, so what rows share is looked for
/// once. Polls `progress`.
bk2::error_code_t findPlaces(const RowPaths& paths, const ProfileStore& store,
                             notifykit2::IProgress* progress, NodesByThreads& found);

} // namespace panedeck::engine
