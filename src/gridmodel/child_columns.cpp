#include "gridmodel/child_columns.h"

#include "basekit/assertion.h"

namespace panedeck {

std::vector<bk2::sptr_t<dataface1::IColumnInfo>> childColumns(const dataface1::IColumnInfo& columnInfo,
                                                              notifykit2::IProgress* progress) {
    std::vector<bk2::sptr_t<dataface1::IColumnInfo>> columns;
    bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>> children;
    const int status = columnInfo.getChildColumns(children, progress, true);
    PANEDECK_EXPECT(status != dataface1::ITreeNode::ecsfError, "st != dataface1::ITreeNode::ecsfError");
    if (status == dataface1::ITreeNode::ecsfError) return columns;
    for (; children && !children->at_end(); children->next())
        columns.push_back(children->current());
    return columns;
}

} // namespace panedeck
