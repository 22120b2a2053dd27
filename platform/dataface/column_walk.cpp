#include "dataface/column_walk.h"

#include <utility>

namespace dataface1 {

bool collect_columns(const ITableTree& tree, notifykit2::IProgress* progress,
                     std::vector<column_place_t>& places) {
    std::vector<bk2::iterator_ptr_t<bk2::sptr_t<IColumnInfo>>> open;
    open.push_back(tree.getColumns(progress));
    while (!open.empty()) {
        if (!open.back()) return false;
        if (open.back()->at_end()) {
            open.pop_back();
            continue;
        }
        const auto column = open.back()->current();
        open.back()->next();
        places.push_back({column, open.size() - 1});
        bk2::iterator_ptr_t<bk2::sptr_t<IColumnInfo>> children;
        if (column->getChildColumns(children, progress, true) == ITreeNode::ecsfError) return false;
        if (children) open.push_back(std::move(children));
    }
    return true;
}

} // namespace dataface1
