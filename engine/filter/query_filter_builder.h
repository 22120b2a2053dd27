#pragma once

#include "basekit/ref_counted.h"
#include "dataface/filter_registry.h"
#include "filter/filter_expression.h"

#include <vector>

namespace panedeck::engine {

/// How deeply groups may be nested: evaluation recurses by it.
inline constexpr std::size_t deepest_filter = 512;

/// Collects expressions; needs no result, so making one waits for nothing.
class QueryFilterBuilder final : public bk2::ref_counted_t<QueryFilterBuilder, bk2::mt_ref_count_impl_t,
                                                           dataface1::IQueryFilterBuilder> {
public:
    bk2::error_code_t beginGroup(int op) override;
    bk2::error_code_t endGroup() override;
    void setValueMode(bool values) override { m_is_value = values; }
    bk2::error_code_t addExpression(const bk2::sptr_t<dataface1::IInfoQuery>& query,
                                    dataface1::filter_expr_opcode_t opcode,
                                    const bk2::variant_t& value) override;
    bk2::sptr_t<dataface1::IQueryFilter> compile() override;

private:
    struct Group {
        int op = group_and;
        std::vector<FilterExpressionPtr> members;
    };

    /// The last one is open; the first is the root.
    std::vector<Group> m_groups = std::vector<Group>(1);
    bool m_is_value = false;
};

} // namespace panedeck::engine
