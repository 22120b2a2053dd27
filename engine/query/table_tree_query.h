#pragma once

#include "basekit/ref_counted.h"
#include "query/engine_input.h"
#include "slicerkit/table_tree_query.h"
#include "tree/tree_columns.h"

#include <vector>

namespace panedeck::engine {

/// A query over one open result or two, put together by its setters and run by `getTableTree`.
class TableTreeQuery final
    : public bk2::ref_counted_t<TableTreeQuery, bk2::mt_ref_count_impl_t, slicerkit1::ITableTreeQuery> {
public:
    static bk2::sptr_t<slicerkit1::ITableTreeQuery> make();

    bk2::error_code_t addInputData(const bk2::sptr_t<dataface1::IInputData>& input) override;
    bk2::error_code_t setFilterName(const std::string& name) override;
    bk2::error_code_t prepare() override { return {}; }
    bk2::error_code_t getTableTree(bk2::sptr_t<dataface1::ITableTree>& tree, notifykit2::IProgress* progress,
                                   int type_and_flags) override;
    bk2::error_code_t setFocusObject(const bk2::sptr_t<dataface1::IQuery>& query,
                                     const bk2::variant_t& object_id) override;
    bk2::error_code_t setSortQuery(const bk2::sptr_t<dataface1::IQuery>& query) override;
    bk2::error_code_t setGroupingQuery(const bk2::sptr_t<dataface1::IQuery>& query) override;
    bk2::error_code_t addColumnQuery(const bk2::sptr_t<dataface1::IQuery>& query) override;

private:
    using QueryPtr = bk2::sptr_t<dataface1::IQuery>;

    std::vector<bk2::sptr_t<EngineInput>> m_inputs;
    std::string m_filter_name;
    QueryPtr m_grouping;
    QueryPtr m_sort;
    QueryPtr m_focus;
    bk2::variant_t m_focus_id;
    /// Single queries, in order, none twice.
    std::vector<QueryPtr> m_columns;
};

} // namespace panedeck::engine
