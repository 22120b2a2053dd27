#include "query/query_library.h"

#include "query/metric_query.h"

#include <algorithm>

namespace panedeck::engine {

namespace {

using dataface1::query_value_type_t;

constexpr char metrics_path[] = "/Metrics";
constexpr char samples_path[] = "/Samples";
// What a table is grouped by when nobody says. Panes may name it too.
constexpr char root_grouping[] = "RootGrouping";

query_value_type_t valueTypeOf(MetricUnit unit) {
    switch (unit) {
    case MetricUnit::nanoseconds:
    case MetricUnit::microseconds:
        return query_value_type_t::time;
    case MetricUnit::bytes:
        return query_value_type_t::bytes;
    case MetricUnit::count:
        break;
    }
    return query_value_type_t::count;
}

QueryFacts metricFacts(const MetricColumn& metric, const MetricStyle* style) {
    QueryFacts facts;
    facts.name = std::string(metrics_path) + "/" + metric.name;
    facts.display_name = style && !style->display_name.empty() ? style->display_name : metric.name;
    if (style) facts.description = style->description;
    facts.value_type = valueTypeOf(metric.unit);
    if (facts.value_type == query_value_type_t::time)
        facts.attributes.emplace_back("timeUnit", metric.unit == MetricUnit::nanoseconds ? 1e-9 : 1e-6);
    if (facts.value_type == query_value_type_t::count && !metric.is_integer)
        facts.value_type = query_value_type_t::number;
    if (style && !style->format.empty()) facts.attributes.emplace_back("format", style->format);
    return facts;
}

} // namespace

QueryLibrary::QueryLibrary(const ProfileStore& first, const ProfileStore* second,
                           const QueryCatalog& catalog) {
    makeLevels(catalog);
    makeMetrics(first, second, catalog);
    for (const auto& [fact, name] : {std::pair(FunctionFact::module, "/Info/Module"),
                                     std::pair(FunctionFact::source_file, "/Info/SourceFile"),
                                     std::pair(FunctionFact::full_name, "/Info/FunctionFullName")})
        m_fixed[name] = makeFactQuery(fact, name, catalog.column(name));
}

void QueryLibrary::makeLevels(const QueryCatalog& catalog) {
    for (const Segment segment : {Segment::process, Segment::thread, Segment::module, Segment::source_file,
                                  Segment::function, Segment::callees, Segment::callers})
        m_levels[segment] = makeLevelQuery(segment, catalog.level(segment));
}

void QueryLibrary::makeMetrics(const ProfileStore& first, const ProfileStore* second,
                               const QueryCatalog& catalog) {
    std::vector<const MetricColumn*> metrics;
    for (const ProfileStore* store : {&first, second})
        for (std::size_t i = 0; store && i < store->data().metrics.size(); ++i) {
            const MetricColumn& metric = store->data().metrics[i];
            const auto same = [&metric](const MetricColumn* other) { return other->name == metric.name; };
            if (std::ranges::none_of(metrics, same)) metrics.push_back(&metric);
        }
    // The importer's first metric is the primary one unless the product prefers another.
    std::ranges::stable_partition(metrics, [&catalog](const MetricColumn* metric) {
        const MetricStyle* style = catalog.findMetric(metric->name);
        return style && style->is_primary;
    });
    for (const MetricColumn* metric : metrics)
        addMetric(*metric, catalog);
    m_fixed[metrics_path] = makeNamedVector(metrics_path, "Metrics", m_metrics);

    QueryFacts facts;
    facts.name = samples_path;
    facts.display_name = "Samples";
    facts.description = "How many samples were taken.";
    facts.value_type = query_value_type_t::count;
    m_fixed[samples_path] =
        makeMetricQuery(std::move(facts), "", m_metrics.empty() ? nullptr : m_metrics.front(), nullptr);
}

void QueryLibrary::addMetric(const MetricColumn& metric, const QueryCatalog& catalog) {
    const QueryPtr base = m_metrics.empty() ? nullptr : m_metrics.front();
    QueryFacts facts = metricFacts(metric, catalog.findMetric(metric.name));
    const std::string path = facts.name;
    m_metrics.push_back(makeMetricQuery(std::move(facts), metric.name, base, nullptr));
    m_fixed[path] = m_metrics.back();
}

bk2::sptr_t<dataface1::IQuery> QueryLibrary::findQuery(const std::string& name) const {
    if (const auto fixed = m_fixed.find(name); fixed != m_fixed.end()) return fixed->second;
    const std::lock_guard lock(m_mutex);
    if (const auto made = m_made.find(name); made != m_made.end()) return made->second;
    QueryPtr query = makeQuery(name);
    if (query) m_made[name] = query;
    return query;
}

bk2::sptr_t<dataface1::IQuery> QueryLibrary::getWellKnownGrouping(const std::string& name, int) const {
    return name == root_grouping ? findQuery(name) : nullptr;
}

bk2::sptr_t<dataface1::IQuery> QueryLibrary::makeQuery(std::string_view name) const {
    if (name == root_grouping) name = "/Function";
    if (const auto path = parseGroupingPath(name)) return makePath(*path);
    return makeExpandedMetric(name);
}

bk2::sptr_t<dataface1::IQuery> QueryLibrary::makePath(const GroupingPath& path) const {
    QueryPtr below;
    std::vector<QueryPtr> levels;
    // From the last level up, so that each one finds the rest of the path made.
    for (std::size_t level = path.size(); level-- > 0;) {
        levels.insert(levels.begin(), m_levels.at(path[level]));
        GroupingPath rest(path.begin() + static_cast<std::ptrdiff_t>(level), path.end());
        QueryPtr& made = m_made[groupingPathText(rest)];
        if (!made) made = makePathQuery(std::move(rest), levels, below);
        below = made;
    }
    return below;
}

bk2::sptr_t<dataface1::IQuery> QueryLibrary::makeExpandedMetric(std::string_view name) const {
    const std::size_t slash = name.rfind('/');
    if (slash == std::string_view::npos) return nullptr;
    const auto metric = m_fixed.find(name.substr(0, slash));
    const auto segment = findSegment(name.substr(slash + 1));
    if (metric == m_fixed.end() || !segment) return nullptr;
    if (!handleOf<MetricHandle>(metric->second)) return nullptr;
    return metric->second->withExpansion(m_levels.at(*segment));
}

} // namespace panedeck::engine
