#pragma once

#include "basekit/ref_counted.h"
#include "dataface/table_tree.h"
#include "tree/row_objects.h"
#include "tree/table_model.h"
#include "tree/tree_column.h"

#include <memory>
#include <vector>

namespace panedeck::engine {

/// All facets of a table tree.
class TableTreeInterfaces : public dataface1::ITableTree,
                            public dataface1::IColumnStatistics,
                            public dataface1::IFilterTableTree,
                            public dataface1::IReducibleTableTree {
public:
    void add_ref() const override = 0;
    void release() const override = 0;

protected:
    ~TableTreeInterfaces() override = default;
};

/// The result of a query: a model of rows with the interfaces around it.
class TableTree final : public bk2::ref_counted_t<TableTree, bk2::mt_ref_count_impl_t, TableTreeInterfaces> {
public:
    /// `grouping` is the query of the first level.
    TableTree(std::unique_ptr<const TableModel> model, std::vector<std::unique_ptr<TreeColumn>> columns,
              const bk2::sptr_t<dataface1::IQuery>& grouping);

    const TableModel& model() const { return *m_model; }
    const bk2::sptr_t<dataface1::IQuery>& levelQuery(std::size_t level) const { return m_levels[level]; }
    TableRow* rowObject(RowIndex row) const { return m_objects.at(row); }
    /// Null for null and for a column of another tree.
    const TreeColumn* ownColumn(const dataface1::IColumnInfo* column) const;
    bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>> iterate(RowRange range) const;

    bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>>
    getRows(notifykit2::IProgress* progress) const override;
    bk2::iterator_ptr_t<bk2::sptr_t<dataface1::IColumnInfo>>
    getColumns(notifykit2::IProgress* progress) const override;

    bool getColumnMaximum(const dataface1::IColumnInfo& column, bk2::variant_t& value) const override;
    bool getColumnMinimum(const dataface1::IColumnInfo& column, bk2::variant_t& value) const override;
    bool getColumnSum(const dataface1::IColumnInfo& column, bk2::variant_t& value) const override;

    bk2::error_code_t createFilter(const std::vector<bk2::sptr_t<dataface1::ITableRow>>& rows, int reserved,
                                   int mode, bk2::sptr_t<dataface1::IQueryFilter>& filter,
                                   int flag) const override;
    bk2::sptr_t<dataface1::ITableRow> reduce(const std::vector<bk2::sptr_t<dataface1::ITableRow>>& rows,
                                             int reserved) const override;

private:
    /// The numbers of the rows that are this tree's own; false if one is not.
    bool ownRows(const std::vector<bk2::sptr_t<dataface1::ITableRow>>& rows,
                 std::vector<RowIndex>& indexes) const;

    std::unique_ptr<const TableModel> m_model;
    std::vector<std::unique_ptr<TreeColumn>> m_columns;
    std::vector<bk2::sptr_t<dataface1::IQuery>> m_levels;
    mutable RowObjects m_objects;
};

} // namespace panedeck::engine
