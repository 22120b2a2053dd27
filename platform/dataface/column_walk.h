#pragma once

#include "dataface/table_tree.h"

#include <vector>

namespace dataface1 {

/// A column of a tree and how deep it stands: 0 at the top.
struct column_place_t {
    bk2::sptr_t<IColumnInfo> column;
    std::size_t depth;
};

/// All columns of the tree in preorder into `places`. False if the tree could not tell them.
bool collect_columns(const ITableTree& tree, notifykit2::IProgress* progress,
                     std::vector<column_place_t>& places);

} // namespace dataface1
