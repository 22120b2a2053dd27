#pragma once

#include "dataface/query.h"
#include "query/query_facts.h"
#include "query/query_handles.h"

namespace panedeck::engine {

/// A metric of the results. A time metric is an `ITimeQuery`, any other a plain query.
///
/// `base` is the metric that "percent_by" relates to; null: the metric itself. `expansion` is the info query
/// of the dimension that cuts it up, null for none.
bk2::sptr_t<dataface1::IQuery> makeMetricQuery(QueryFacts facts, std::string metric_name,
                                               bk2::sptr_t<dataface1::IQuery> base,
                                               bk2::sptr_t<dataface1::IQuery> expansion);

/// The metric as the query of one column: the same query, but its attribute "query" tells the columns of one
/// metric apart by their flags.
bk2::sptr_t<dataface1::IQuery> makeColumnQuery(const bk2::sptr_t<dataface1::IQuery>& metric,
                                               std::uint32_t flags);

/// One value of an expanded metric: an info query of the metric's name, restricted to the value.
bk2::sptr_t<dataface1::IQuery> makeExpansionValueQuery(const bk2::sptr_t<dataface1::IQuery>& metric,
                                                       const bk2::variant_t& value, const std::string& text,
                                                       std::uint32_t flags);

/// A metric's own query without its expansion, and the info query that expands it (null for none).
bk2::sptr_t<dataface1::IQuery> expansionOf(const bk2::sptr_t<dataface1::IQuery>& metric);

} // namespace panedeck::engine
