#pragma once

#include "dataface/table_tree.h"

#include <vector>

namespace panedeck {

/// A column's child columns; none, which is logged, if they cannot be read.
std::vector<bk2::sptr_t<dataface1::IColumnInfo>> childColumns(const dataface1::IColumnInfo& columnInfo,
                                                              notifykit2::IProgress* progress = nullptr);

} // namespace panedeck
