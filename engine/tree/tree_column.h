#pragma once

#include "dataface/table_tree.h"
#include "tree/table_model.h"

#include <memory>
#include <string>
#include <vector>

namespace panedeck::engine {

class TableTree;

/// A column of a table tree. Lives in its tree: references to it are references to the tree.
class TreeColumn final : public dataface1::IColumnInfo {
public:
    TreeColumn(bk2::sptr_t<dataface1::IQuery> query, std::uint32_t flags, ColumnContent content)
        : m_query(std::move(query)), m_flags(flags), m_content(content) {}
    ~TreeColumn() override = default;

    /// Before the tree is handed out.
    TreeColumn& addChild(std::unique_ptr<TreeColumn> child);
    void setInternalName(std::string name) { m_internal_name = std::move(name); }
    void setColor(bk2::variant_t color) { m_color = std::move(color); }
    /// For the column and all below it.
    void setTree(const TableTree& tree);

    const ColumnContent& content() const { return m_content; }
    const TableTree* tree() const { return m_tree; }

    void add_ref() const override;
    void release() const override;
    bk2::sptr_t<dataface1::IQuery> getQuery() const override { return m_query; }
    std::uint32_t getFlags() const override { return m_flags; }
    bool getAttribute(dataface1::column_attribute_t attribute, bk2::variant_t& value) const override;
    bk2::sptr_t<dataface1::IColumnInfo> getParentColumn() const override;
    int getChildColumns(bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>>& children,
                        notifykit2::IProgress* progress, bool all) const override;

private:
    bk2::sptr_t<dataface1::IQuery> m_query;
    std::uint32_t m_flags;
    ColumnContent m_content;
    std::string m_internal_name;
    bk2::variant_t m_color;
    const TableTree* m_tree = nullptr;
    TreeColumn* m_parent = nullptr;
    std::vector<std::unique_ptr<TreeColumn>> m_children;
};

} // namespace panedeck::engine
