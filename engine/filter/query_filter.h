#pragma once

#include "basekit/ref_counted.h"
#include "dataface/filter_registry.h"
#include "filter/filter_expression.h"

namespace panedeck::engine {

/// A compiled filter as the interfaces carry it.
class QueryFilter final
    : public bk2::ref_counted_t<QueryFilter, bk2::mt_ref_count_impl_t, dataface1::IQueryFilter> {
public:
    /// A null expression lets everything through.
    explicit QueryFilter(FilterExpressionPtr expression) : m_expression(std::move(expression)) {}

    const FilterExpressionPtr& expression() const { return m_expression; }

private:
    FilterExpressionPtr m_expression;
};

} // namespace panedeck::engine
