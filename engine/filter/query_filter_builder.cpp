#include "filter/query_filter_builder.h"

#include "filter/query_filter.h"
#include "query/query_handles.h"

#include <optional>

namespace panedeck::engine {

namespace {

// A column of facts filters like the grouping by the same dimension.
std::optional<Segment> segmentOf(const bk2::sptr_t<dataface1::IInfoQuery>& query) {
    if (const auto* level = handleOf<SegmentHandle>(query)) return level->segment();
    const auto* fact = handleOf<FactHandle>(query);
    if (!fact) return std::nullopt;
    if (fact->fact() == FunctionFact::module) return Segment::module;
    if (fact->fact() == FunctionFact::source_file) return Segment::source_file;
    return std::nullopt;
}

} // namespace

bk2::error_code_t QueryFilterBuilder::beginGroup(int op) {
    if (op != group_and && op != group_or)
        return bk2::error_code_t::raise(bk2::kinds::is_not_valid_argument, "op");
    if (m_groups.size() >= deepest_filter)
        return bk2::error_code_t::raise(bk2::kinds::is_not_valid_argument, "The filter is nested too deeply");
    m_groups.push_back({op, {}});
    return {};
}

bk2::error_code_t QueryFilterBuilder::endGroup() {
    if (m_groups.size() == 1) return bk2::error_code_t::raise(bk2::kinds::is_not_valid_state, "endGroup");
    Group group = std::move(m_groups.back());
    m_groups.pop_back();
    m_groups.back().members.push_back(group.op == group_or
                                          ? FilterExpression::anyOf(std::move(group.members))
                                          : FilterExpression::allOf(std::move(group.members)));
    return {};
}

bk2::error_code_t QueryFilterBuilder::addExpression(const bk2::sptr_t<dataface1::IInfoQuery>& query,
                                                    dataface1::filter_expr_opcode_t opcode,
                                                    const bk2::variant_t& value) {
    const std::optional<Segment> segment = segmentOf(query);
    if (!segment || opcode != dataface1::filter_equal)
        return bk2::error_code_t::raise(bk2::kinds::is_not_valid_argument,
                                        query ? query->getName() : std::string("query"));
    m_groups.back().members.push_back(FilterExpression::condition(*segment, m_is_value, value));
    return {};
}

bk2::sptr_t<dataface1::IQueryFilter> QueryFilterBuilder::compile() {
    if (m_groups.size() != 1) return nullptr;
    return bk2::make_sptr<QueryFilter>(FilterExpression::allOf(m_groups.front().members));
}

} // namespace panedeck::engine
