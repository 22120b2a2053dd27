#include "tree/table_tree.h"

#include "filter/query_filter.h"
#include "tree/row_selection.h"
#include "tree/row_sums.h"

#include <typeinfo>

namespace panedeck::engine {

namespace {

using dataface1::IColumnInfo;
using dataface1::ITableRow;
using RowPtr = bk2::sptr_t<ITableRow>;

/// Runs over rows that stand side by side; keeps the tree.
class RowIterator final : public bk2::generic_iterator_t<RowPtr> {
public:
    RowIterator(const TableTree& tree, RowRange range)
        : m_tree(const_cast<TableTree*>(&tree)), m_next(range.first), m_end(range.first + range.count) {}

    bool at_end() const override { return m_next == m_end; }
    RowPtr current() const override { return RowPtr(m_tree->rowObject(m_next)); }
    void next() override { ++m_next; }
    bk2::iterator_ptr_t<RowPtr> clone() const override { return std::make_unique<RowIterator>(*this); }

private:
    bk2::sptr_t<TableTree> m_tree;
    RowIndex m_next;
    RowIndex m_end;
};

/// Calls `use` with the numbers of a column's top rows.
template <class Use>
void forTopNumbers(const TableModel& model, const ColumnContent& column, const Use& use) {
    const RowRange top = model.topRows();
    bk2::variant_t value;
    for (RowIndex row = top.first; row < top.first + top.count; ++row)
        if (model.value(row, column, dataface1::cell_value, value) && value.is_numeric()) use(value);
}

} // namespace

TableTree::TableTree(std::unique_ptr<const TableModel> model,
                     std::vector<std::unique_ptr<TreeColumn>> columns,
                     const bk2::sptr_t<dataface1::IQuery>& grouping)
    : m_model(std::move(model)), m_columns(std::move(columns)), m_objects(*this) {
    for (const auto& column : m_columns)
        column->setTree(*this);
    for (auto level = grouping; level; level = level->getLevelBelow())
        m_levels.push_back(level);
}

const TreeColumn* TableTree::ownColumn(const IColumnInfo* column) const {
    // Every column that the engine hands out is of this class.
    const auto* own = static_cast<const TreeColumn*>(column);
    return own && own->tree() == this ? own : nullptr;
}

bk2::iterator_ptr_t<RowPtr> TableTree::iterate(RowRange range) const {
    return std::make_unique<RowIterator>(*this, range);
}

bk2::iterator_ptr_t<RowPtr> TableTree::getRows(notifykit2::IProgress*) const {
    return iterate(m_model->topRows());
}

bk2::iterator_ptr_t<bk2::sptr_t<IColumnInfo>> TableTree::getColumns(notifykit2::IProgress*) const {
    std::vector<bk2::sptr_t<IColumnInfo>> columns;
    for (const auto& column : m_columns)
        columns.emplace_back(column.get());
    return bk2::make_vector_iterator(std::move(columns));
}

bool TableTree::getColumnMaximum(const IColumnInfo& column, bk2::variant_t& value) const {
    value = {};
    if (const TreeColumn* own = ownColumn(&column))
        forTopNumbers(*m_model, own->content(), [&](const bk2::variant_t& number) {
            if (value.is_null() || number > value) value = number;
        });
    return !value.is_null();
}

bool TableTree::getColumnMinimum(const IColumnInfo& column, bk2::variant_t& value) const {
    value = {};
    if (const TreeColumn* own = ownColumn(&column))
        forTopNumbers(*m_model, own->content(), [&](const bk2::variant_t& number) {
            if (value.is_null() || number < value) value = number;
        });
    return !value.is_null();
}

bool TableTree::getColumnSum(const IColumnInfo& column, bk2::variant_t& value) const {
    value = {};
    const TreeColumn* own = ownColumn(&column);
    if (!own || own->content().kind != ColumnContent::Kind::weight) return false;
    std::vector<RowIndex> rows;
    const RowRange top = m_model->topRows();
    for (RowIndex row = top.first; row < top.first + top.count; ++row)
        rows.push_back(row);
    return !rows.empty() &&
           m_model->valueOfSums(m_model->sumOfRows(rows, {}), own->content(), dataface1::cell_value, value);
}

bool TableTree::ownRows(const std::vector<RowPtr>& rows, std::vector<RowIndex>& indexes) const {
    constexpr std::size_t rows_ahead = 16;
    indexes.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (i + rows_ahead < rows.size()) __builtin_prefetch(rows[i + rows_ahead].get());
        // The class is final: comparing types is exact, and costs a tenth of a cast where rows are very many.
        const ITableRow* given = rows[i].get();
        const auto* own =
            given && typeid(*given) == typeid(TableRow) ? static_cast<const TableRow*>(given) : nullptr;
        if (!own || &own->tree() != this) return false;
        indexes.push_back(own->index());
    }
    return true;
}

bk2::error_code_t TableTree::createFilter(const std::vector<RowPtr>& rows, int, int mode,
                                          bk2::sptr_t<dataface1::IQueryFilter>& filter, int) const {
    filter = nullptr;
    std::vector<RowIndex> indexes;
    if (rows.empty() || !ownRows(rows, indexes))
        return bk2::error_code_t::raise(bk2::kinds::is_not_valid_argument, "rows");
    if (mode < rows_with_parents || mode > rows_alone)
        return bk2::error_code_t::raise(bk2::kinds::is_not_valid_argument, "mode");
    RowPaths paths = mode == rows_alone
                         ? ownLevels(*m_model, indexes)
                         : pathsTo(*m_model, splitSelection(*m_model, std::move(indexes)).outermost);
    paths.from_leaf = mode != rows_alone && m_model->scope() == FrameScope::leaf;
    filter = bk2::make_sptr<QueryFilter>(FilterExpression::anyRow(std::move(paths)));
    return {};
}

RowPtr TableTree::reduce(const std::vector<RowPtr>& rows, int) const {
    std::vector<RowIndex> indexes;
    if (!ownRows(rows, indexes) || indexes.empty()) return nullptr;
    const SelectedRows selected = splitSelection(*m_model, std::move(indexes));
    return bk2::make_sptr<RowSums>(*this, m_model->sumOfRows(selected.outermost, selected.deeper_frames));
}

} // namespace panedeck::engine
