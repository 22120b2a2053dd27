#pragma once

#include "basekit/ref_counted.h"
#include "dataface/input_data.h"
#include "query/query_catalog.h"
#include "store/profile_store.h"

#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace panedeck::engine {

/// Finds the queries of one open result or two: groupings by path ("/Thread/Function/ParentCallStack"),
/// "/Metrics" for all metrics, "/Metrics/NAME", "/Metrics/NAME/Thread" expanded by any level that does not
/// recur, "/Samples", "/Info/Module",
/// "/Info/SourceFile", "/Info/FunctionFullName". Each is made once and then shared. Safe from any thread;
/// never waits for a query that runs.
class QueryLibrary final
    : public bk2::ref_counted_t<QueryLibrary, bk2::mt_ref_count_impl_t, dataface1::IQueryLibrary> {
public:
    QueryLibrary(const ProfileStore& first, const ProfileStore* second, const QueryCatalog& catalog);

    bk2::sptr_t<dataface1::IQuery> findQuery(const std::string& name) const override;
    /// "RootGrouping" is "/Function".
    bk2::sptr_t<dataface1::IQuery> getWellKnownGrouping(const std::string& name, int reserved) const override;

private:
    using QueryPtr = bk2::sptr_t<dataface1::IQuery>;

    void makeLevels(const QueryCatalog& catalog);
    void makeMetrics(const ProfileStore& first, const ProfileStore* second, const QueryCatalog& catalog);
    void addMetric(const MetricColumn& metric, const QueryCatalog& catalog);
    QueryPtr makeQuery(std::string_view name) const;
    QueryPtr makePath(const GroupingPath& path) const;
    QueryPtr makeExpandedMetric(std::string_view name) const;

    std::map<std::string, QueryPtr, std::less<>> m_fixed;
    std::vector<QueryPtr> m_metrics;
    std::map<Segment, QueryPtr> m_levels;

    /// Paths and expansions, made when first asked for: a bounded number, since no level comes twice.
    mutable std::mutex m_mutex;
    mutable std::map<std::string, QueryPtr, std::less<>> m_made;
};

} // namespace panedeck::engine
