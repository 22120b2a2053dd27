#pragma once

#include "basekit/ref_counted.h"
#include "dataface/table_tree.h"

namespace panedeck {

/// A tree without rows and columns: stands where a tree is needed and a query found none. Has no further
/// facets.
class EmptyTableTree
    : public bk2::ref_counted_t<EmptyTableTree, bk2::mt_ref_count_impl_t, dataface1::ITableTree> {
public:
    ~EmptyTableTree() override;
    bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>>
    getRows(notifykit2::IProgress* progress) const override;
    bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>>
    getColumns(notifykit2::IProgress* progress) const override;
};

} // namespace panedeck
