#include "gridmodel/empty_table_tree.h"

namespace panedeck {

EmptyTableTree::~EmptyTableTree() = default;

bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>> EmptyTableTree::getRows(notifykit2::IProgress*) const {
    return bk2::make_vector_iterator(std::vector<bk2::sptr_t<dataface1::ITableRow>>());
}

bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>>
EmptyTableTree::getColumns(notifykit2::IProgress*) const {
    return bk2::make_vector_iterator(std::vector<bk2::sptr_t<dataface1::IColumnInfo>>());
}

} // namespace panedeck
