#include "query/table_tree_query.h"

#include "query/tree_plan.h"
#include "tree/compared_model.h"
#include "tree/single_model.h"
#include "tree/table_tree.h"

#include <algorithm>
#include <optional>

namespace panedeck::engine {

namespace {

bk2::error_code_t invalidArgument(const std::string& what) {
    return bk2::error_code_t::raise(bk2::kinds::is_not_valid_argument, what);
}

/// `role`: what the query was given for.
bk2::error_code_t invalidQuery(const bk2::sptr_t<dataface1::IQuery>& query, const std::string& role) {
    return invalidArgument(query ? query->getName() + " is no " + role : "A " + role + " without a query");
}

/// The filter as bits, kept by the rows: the name may be gone or mean another filter later.
bk2::error_code_t resolveFilter(const EngineInput& input, const std::string& name,
                                notifykit2::IProgress* progress, RowTreeRequest& rows) {
    const FilterExpressionPtr filter = name.empty() ? nullptr : input.findFilter(name);
    return filter ? filter->bitsFor(input.store(), progress, rows.filter) : bk2::error_code_t();
}

template <class Model>
bk2::error_code_t finish(std::unique_ptr<Model> model, std::vector<std::unique_ptr<TreeColumn>> columns,
                         const ShownColumns& shown, bk2::sptr_t<dataface1::ITableTree>& tree) {
    tree = bk2::make_sptr<TableTree>(std::move(model), std::move(columns), shown.grouping);
    return {};
}

} // namespace

bk2::sptr_t<slicerkit1::ITableTreeQuery> TableTreeQuery::make() {
    return bk2::make_sptr<TableTreeQuery>();
}

bk2::error_code_t TableTreeQuery::addInputData(const bk2::sptr_t<dataface1::IInputData>& input) {
    const auto own = bk2::interface_cast<EngineInput>(input);
    if (!own) return invalidArgument("The result is of another data provider");
    if (m_inputs.size() == 2) return invalidArgument("More than two results");
    m_inputs.push_back(own);
    return {};
}

bk2::error_code_t TableTreeQuery::setFilterName(const std::string& name) {
    m_filter_name = name;
    return {};
}

bk2::error_code_t TableTreeQuery::setFocusObject(const QueryPtr& query, const bk2::variant_t& object_id) {
    if (!query) return invalidQuery(query, "focus");
    m_focus = query;
    m_focus_id = object_id;
    return {};
}

bk2::error_code_t TableTreeQuery::setSortQuery(const QueryPtr& query) {
    m_sort = query;
    return {};
}

bk2::error_code_t TableTreeQuery::setGroupingQuery(const QueryPtr& query) {
    if (!query || !handleOf<PathHandle>(query)) return invalidQuery(query, "grouping");
    m_grouping = query;
    return {};
}

bk2::error_code_t TableTreeQuery::addColumnQuery(const QueryPtr& query) {
    std::vector<QueryPtr> members;
    if (const auto vector = dataface1::IVectorQuery::cast(query)) {
        const auto member = vector->getQueryIterator();
        for (; member && !member->at_end(); member->next())
            members.push_back(member->current());
    } else
        members.push_back(query);
    for (const QueryPtr& member : members)
        if (!member || (!handleOf<MetricHandle>(member) && !handleOf<FactHandle>(member)))
            return invalidQuery(query, "column");
    for (const QueryPtr& member : members)
        if (std::ranges::none_of(m_columns, [&](const QueryPtr& known) { return known->isSame(*member); }))
            m_columns.push_back(member);
    return {};
}

bk2::error_code_t TableTreeQuery::getTableTree(bk2::sptr_t<dataface1::ITableTree>& tree,
                                               notifykit2::IProgress* progress, int type_and_flags) {
    tree = nullptr;
    if (m_inputs.empty())
        return bk2::error_code_t::raise(bk2::kinds::is_not_valid_state, "A query without a result");
    const TreeWish wish{type_and_flags, m_grouping, m_sort, m_focus, m_focus_id, m_columns};
    const bool is_compared = m_inputs.size() == 2;
    std::vector<TreePlan> plans(m_inputs.size());
    for (std::size_t i = 0; i < m_inputs.size(); ++i) {
        if (auto error = planTree(wish, *m_inputs[i], is_compared, plans[i]); error.failed()) return error;
        const auto error = resolveFilter(*m_inputs[i], m_filter_name, progress, plans[i].rows);
        if (error.failed()) return error;
    }
    const ShownColumns shown = plans.front().columns;
    if (!is_compared) {
        auto model = std::make_unique<SingleModel>(std::move(plans[0].rows));
        if (auto error = model->makeTopRows(progress); error.failed()) return error;
        auto columns = makeColumns(shown, model->rows());
        return finish(std::move(model), std::move(columns), shown, tree);
    }
    auto model = std::make_unique<ComparedModel>(std::move(plans[0].rows), std::move(plans[1].rows));
    if (auto error = model->makeTopRows(progress); error.failed()) return error;
    auto columns = makeColumns(shown, model->firstRows());
    return finish(std::move(model), std::move(columns), shown, tree);
}

} // namespace panedeck::engine
