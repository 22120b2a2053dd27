#pragma once

// A table tree from text:
//
//     auto tree = makeTree({{metric, column_data | column_self}}, "main | 10\n  parse | 7\n  draw\nidle |
//     3");
//
// One line is one row: two blanks for each level, the row's name, and the values of the data columns in
// order. A value is an integer (s64), a decimal number (double) or text; an empty one is a cell without
// value. The grouping column comes first and shows the name.

#include "dataface/table_tree.h"
#include "support/fake_queries.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace panedeck::tests {

class FakeTableTree;

/// A column to be: children are part of it.
struct fake_column_t {
    bk2::sptr_t<dataface1::IQuery> query;
    std::uint32_t flags = dataface1::column_data;
    std::string internalName = {};
    std::vector<fake_column_t> children = {};
    bk2::variant_t total = {};
    bk2::variant_t color = {};
};

/// Rows and columns live with their tree: a reference to one is a reference to the tree.
template <class Interface>
class FakeTreePart : public Interface {
public:
    explicit FakeTreePart(FakeTableTree& tree) : m_tree(tree) {}
    void add_ref() const override;
    void release() const override;

protected:
    FakeTableTree& m_tree;
};

class FakeColumn : public FakeTreePart<dataface1::IColumnInfo> {
public:
    FakeColumn(FakeTableTree& tree, fake_column_t description, std::size_t position, FakeColumn* above)
        : FakeTreePart(tree), content(std::move(description)), index(position), parent(above) {}
    ~FakeColumn() override = default;

    bk2::sptr_t<dataface1::IQuery> getQuery() const override { return content.query; }
    std::uint32_t getFlags() const override { return content.flags; }
    bool getAttribute(dataface1::column_attribute_t attribute, bk2::variant_t& value) const override;
    bk2::sptr_t<dataface1::IColumnInfo> getParentColumn() const override { return parent; }
    int getChildColumns(bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>>& result,
                        notifykit2::IProgress*, bool) const override;

    fake_column_t content;
    std::size_t index;
    FakeColumn* parent;
    std::vector<FakeColumn*> children;
    bool fails = false; ///< its child columns cannot be read
};

class FakeRow : public FakeTreePart<dataface1::ITableRow> {
public:
    FakeRow(FakeTableTree& tree, FakeRow* above, std::size_t depth)
        : FakeTreePart(tree), parent(above), level(depth) {}
    ~FakeRow() override = default;

    bk2::sptr_t<dataface1::IQuery> getQuery() const override;
    bk2::sptr_t<dataface1::ITableRow> getParentRow() const override { return parent; }
    bk2::sptr_t<dataface1::ITableTree> getTableTree() const override;
    bool getValue(const dataface1::IColumnInfo* column, int contents, bk2::variant_t& value) const override;
    int getChildRows(bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>>& result,
                     notifykit2::IProgress* progress, bool all) const override;

    FakeRow* parent;
    std::size_t level;
    std::vector<bk2::variant_t> cells;                                   ///< contents 0 by column index
    std::map<std::pair<std::size_t, int>, bk2::variant_t> otherContents; ///< by column index and contents
    std::vector<FakeRow*> children;
    bool fails = false; ///< its child rows cannot be read
    std::function<void()> whileReading = [] {};
    mutable std::atomic<bool> atHand = false;
};

class FakeTableTree
    : public bk2::ref_counted_t<FakeTableTree, bk2::mt_ref_count_impl_t, dataface1::ITableTree> {
public:
    /// Levels below the last of `levels` repeat it.
    FakeTableTree(std::vector<fake_column_t> dataColumns, const std::string& text,
                  std::vector<bk2::sptr_t<dataface1::IQuery>> levels = {
                      bk2::make_sptr<FakeInfoQuery>("/Function")});

    bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>>
    getRows(notifykit2::IProgress* progress) const override;
    bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>>
    getColumns(notifykit2::IProgress*) const override;

    /// By index: 0 is the grouping column, the others follow in preorder.
    FakeColumn& column(std::size_t index) { return *m_columns[index]; }
    /// The first row of that name, in the order of the text; it must be there.
    FakeRow& row(const std::string& name);
    bk2::sptr_t<dataface1::IQuery> levelQuery(std::size_t level) const;

    /// Adds a row behind its last sibling; null stands for the top.
    FakeRow& addRow(FakeRow* parent, const std::string& name, std::vector<bk2::variant_t> values = {});

    /// True at the read that is to fail.
    static bool failsNow() { return readsUntilFailure >= 0 && readsUntilFailure-- == 0; }

    /// Reads of rows, of all trees, that go well before one fails; negative: all go well.
    static inline int readsUntilFailure = -1;
    bool failsToGiveRows = false;
    mutable std::atomic<std::size_t> rowsPasses = 0; ///< how often all top rows were asked for

private:
    void addColumn(const fake_column_t& description, FakeColumn* parent);
    void addLine(const std::string& line, std::vector<FakeRow*>& path);

    std::vector<bk2::sptr_t<dataface1::IQuery>> m_levels; ///< each a vector of its info query
    std::vector<std::unique_ptr<FakeColumn>> m_columns;
    std::vector<std::unique_ptr<FakeRow>> m_rows;
    std::vector<FakeRow*> m_topRows;
};

// --- Making one ---

inline std::string trimmed(const std::string& text) {
    const auto begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

/// An integer, a decimal number, a text, or null for "".
inline bk2::variant_t valueFromText(const std::string& text) {
    if (text.empty()) return {};
    const char* end = text.data() + text.size();
    bk2::s64_t integer = 0;
    if (std::from_chars(text.data(), end, integer).ptr == end) return bk2::variant_t(integer);
    double number = 0;
    if (std::from_chars(text.data(), end, number).ptr == end) return bk2::variant_t(number);
    return bk2::variant_t(text);
}

inline std::vector<std::string> splitText(const std::string& text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin <= text.size();) {
        const auto end = std::min(text.find(separator, begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

inline FakeTableTree::FakeTableTree(std::vector<fake_column_t> dataColumns, const std::string& text,
                                    std::vector<bk2::sptr_t<dataface1::IQuery>> levels) {
    for (std::size_t i = levels.size(); i-- > 0;) {
        if (i + 1 == levels.size()) continue;
        if (auto* above = dynamic_cast<FakeInfoQuery*>(levels[i].get())) above->levelBelow = levels[i + 1];
    }
    for (const auto& level : levels)
        m_levels.push_back(makeVector({level}));
    addColumn({m_levels.front(), dataface1::column_grouping, "Name"}, nullptr);
    for (const auto& description : dataColumns)
        addColumn(description, nullptr);
    std::vector<FakeRow*> path;
    for (const std::string& line : splitText(text, '\n'))
        if (!trimmed(line).empty()) addLine(line, path);
}

inline void FakeTableTree::addColumn(const fake_column_t& description, FakeColumn* parent) {
    m_columns.push_back(std::make_unique<FakeColumn>(*this, description, m_columns.size(), parent));
    FakeColumn* column = m_columns.back().get();
    if (parent) parent->children.push_back(column);
    for (const auto& child : description.children)
        addColumn(child, column);
}

inline void FakeTableTree::addLine(const std::string& line, std::vector<FakeRow*>& path) {
    path.resize(line.find_first_not_of(' ') / 2);
    const auto fields = splitText(line, '|');
    std::vector<bk2::variant_t> values;
    for (std::size_t i = 1; i < fields.size(); ++i)
        values.push_back(valueFromText(trimmed(fields[i])));
    path.push_back(&addRow(path.empty() ? nullptr : path.back(), trimmed(fields.front()), std::move(values)));
}

inline FakeRow& FakeTableTree::addRow(FakeRow* parent, const std::string& name,
                                      std::vector<bk2::variant_t> values) {
    m_rows.push_back(std::make_unique<FakeRow>(*this, parent, parent ? parent->level + 1 : 0));
    FakeRow& row = *m_rows.back();
    row.cells.push_back(name.empty() ? bk2::variant_t() : bk2::variant_t(name));
    row.cells.insert(row.cells.end(), values.begin(), values.end());
    row.otherContents[{0, dataface1::cell_object_id}] = bk2::variant_t(bk2::s64_t(m_rows.size()));
    (parent ? parent->children : m_topRows).push_back(&row);
    return row;
}

inline bk2::sptr_t<FakeTableTree> makeTree(std::vector<fake_column_t> dataColumns, const std::string& text,
                                           std::vector<bk2::sptr_t<dataface1::IQuery>> levels = {
                                               bk2::make_sptr<FakeInfoQuery>("/Function")}) {
    return bk2::make_sptr<FakeTableTree>(std::move(dataColumns), text, std::move(levels));
}

// --- Reading one ---

template <class Interface>
void FakeTreePart<Interface>::add_ref() const {
    m_tree.add_ref();
}

template <class Interface>
void FakeTreePart<Interface>::release() const {
    m_tree.release();
}

inline bool FakeColumn::getAttribute(dataface1::column_attribute_t attribute, bk2::variant_t& value) const {
    value.free_data();
    if (attribute == dataface1::column_color) value = content.color;
    if (attribute == dataface1::column_total_value) value = content.total;
    if (attribute == dataface1::column_internal_name && !content.internalName.empty())
        value = bk2::variant_t(content.internalName);
    return !value.is_null();
}

inline int FakeColumn::getChildColumns(bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>>& result,
                                       notifykit2::IProgress*, bool) const {
    if (fails) return ecsfError;
    result = bk2::make_vector_iterator(
        std::vector<bk2::sptr_t<dataface1::IColumnInfo>>(children.begin(), children.end()));
    return ecsfAtHand;
}

inline bk2::sptr_t<dataface1::IQuery> FakeRow::getQuery() const {
    return m_tree.levelQuery(level);
}

inline bk2::sptr_t<dataface1::ITableTree> FakeRow::getTableTree() const {
    return &m_tree;
}

inline bool FakeRow::getValue(const dataface1::IColumnInfo* column, int contents,
                              bk2::variant_t& value) const {
    value.free_data();
    const auto* known = static_cast<const FakeColumn*>(column);
    if (!known) return false;
    if (contents == dataface1::cell_value) {
        if (known->index < cells.size()) value = cells[known->index];
    } else if (const auto found = otherContents.find({known->index, contents});
               found != otherContents.end()) {
        value = found->second;
    }
    return !value.is_null();
}

inline int FakeRow::getChildRows(bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>>& result,
                                 notifykit2::IProgress* progress, bool all) const {
    if (!all) return atHand || children.empty() ? ecsfAtHand : ecsfUnknown;
    whileReading();
    if (fails || m_tree.failsNow() || notifykit2::is_canceled(progress)) return ecsfError;
    atHand = true;
    result = bk2::make_vector_iterator(
        std::vector<bk2::sptr_t<dataface1::ITableRow>>(children.begin(), children.end()));
    return ecsfAtHand;
}

inline bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>>
FakeTableTree::getRows(notifykit2::IProgress* progress) const {
    ++rowsPasses;
    if (failsToGiveRows || failsNow() || notifykit2::is_canceled(progress)) return nullptr;
    return bk2::make_vector_iterator(
        std::vector<bk2::sptr_t<dataface1::ITableRow>>(m_topRows.begin(), m_topRows.end()));
}

inline bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>>
FakeTableTree::getColumns(notifykit2::IProgress*) const {
    std::vector<bk2::sptr_t<dataface1::IColumnInfo>> top;
    for (const auto& column : m_columns)
        if (!column->parent) top.push_back(column.get());
    return bk2::make_vector_iterator(std::move(top));
}

inline FakeRow& FakeTableTree::row(const std::string& name) {
    const auto found = std::find_if(m_rows.begin(), m_rows.end(),
                                    [&](const auto& row) { return row->cells.front().text() == name; });
    return **found;
}

inline bk2::sptr_t<dataface1::IQuery> FakeTableTree::levelQuery(std::size_t level) const {
    return m_levels[std::min(level, m_levels.size() - 1)];
}

} // namespace panedeck::tests
