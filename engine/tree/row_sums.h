#pragma once

#include "basekit/ref_counted.h"
#include "dataface/table_tree.h"
#include "tree/table_model.h"
#include "tree/table_tree.h"

#include <vector>

namespace panedeck::engine {

/// The sums of some rows of a tree, as a row: it has numbers only, no place in the tree and no children.
/// Keeps the tree.
class RowSums final : public bk2::ref_counted_t<RowSums, bk2::mt_ref_count_impl_t, dataface1::ITableRow> {
public:
    RowSums(const TableTree& tree, std::vector<Weight> sums)
        : m_tree(const_cast<TableTree*>(&tree)), m_sums(std::move(sums)) {}

    bk2::sptr_t<dataface1::IQuery> getQuery() const override { return m_tree->levelQuery(0); }
    bk2::sptr_t<dataface1::ITableRow> getParentRow() const override { return nullptr; }
    bk2::sptr_t<dataface1::ITableTree> getTableTree() const override { return m_tree; }
    bool getValue(const dataface1::IColumnInfo* column, int contents, bk2::variant_t& value) const override {
        value.free_data();
        const TreeColumn* own = m_tree->ownColumn(column);
        return own && m_tree->model().valueOfSums(m_sums, own->content(), contents, value);
    }
    int getChildRows(bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>>& children, notifykit2::IProgress*,
                     bool all) const override {
        if (all) children = m_tree->iterate({});
        return ecsfAtHand;
    }

private:
    bk2::sptr_t<TableTree> m_tree;
    std::vector<Weight> m_sums;
};

} // namespace panedeck::engine
