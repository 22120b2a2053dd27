#include "tree/tree_column.h"

#include "tree/table_tree.h"

namespace panedeck::engine {

TreeColumn& TreeColumn::addChild(std::unique_ptr<TreeColumn> child) {
    child->m_parent = this;
    m_children.push_back(std::move(child));
    return *m_children.back();
}

void TreeColumn::setTree(const TableTree& tree) {
    m_tree = &tree;
    // Columns are a few levels deep, by construction.
    for (const auto& child : m_children)
        child->setTree(tree);
}

void TreeColumn::add_ref() const {
    m_tree->add_ref();
}

void TreeColumn::release() const {
    m_tree->release();
}

bool TreeColumn::getAttribute(dataface1::column_attribute_t attribute, bk2::variant_t& value) const {
    value = {};
    if (attribute == dataface1::column_internal_name) value = bk2::variant_t(m_internal_name);
    if (attribute == dataface1::column_color) value = m_color;
    if (attribute == dataface1::column_total_value) value = m_tree->model().total(m_content);
    return !value.is_null();
}

bk2::sptr_t<dataface1::IColumnInfo> TreeColumn::getParentColumn() const {
    return bk2::sptr_t<dataface1::IColumnInfo>(m_parent);
}

int TreeColumn::getChildColumns(bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>>& children,
                                notifykit2::IProgress*, bool all) const {
    if (!all) return ecsfAtHand;
    std::vector<bk2::sptr_t<dataface1::IColumnInfo>> columns;
    for (const auto& child : m_children)
        columns.emplace_back(child.get());
    children = bk2::make_vector_iterator(std::move(columns));
    return ecsfAtHand;
}

} // namespace panedeck::engine
