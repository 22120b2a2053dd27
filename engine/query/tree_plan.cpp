#include "query/tree_plan.h"

#include "query/metric_query.h"
#include "query/query_catalog.h"
#include "slicerkit/table_tree_query.h"

#include <algorithm>
#include <charconv>

namespace panedeck::engine {

namespace {

using namespace slicerkit1;

constexpr int type_mask = query_bottom_up | query_top_down | query_flat_profile |
                          query_selection_parent_tree | query_selection_child_tree;

bool isSelectionTree(int type) {
    return type == query_selection_parent_tree || type == query_selection_child_tree;
}

/// "auto" follows the path.
int treeType(int type_and_flags, const GroupingPath& path) {
    const int type = type_and_flags & type_mask;
    if (type != query_auto) return type;
    if (path.back() == Segment::callers) return query_bottom_up;
    return path.back() == Segment::callees ? query_top_down : query_flat_profile;
}

/// A selection tree runs to the callers or to the callees, whatever the grouping says of that.
GroupingPath pathOf(int type, GroupingPath path) {
    if (!isSelectionTree(type)) return path;
    if (isRecursive(path.back())) path.pop_back();
    if (std::ranges::find(path, Segment::function) == path.end()) path.push_back(Segment::function);
    path.push_back(type == query_selection_parent_tree ? Segment::callers : Segment::callees);
    return path;
}

class Planner {
public:
    Planner(const TreeWish& wish, const EngineInput& input, bool is_compared, TreePlan& plan)
        : m_wish(wish), m_store(*input.store()), m_plan(plan) {
        m_plan.rows.store = input.store();
        m_plan.columns.is_compared = is_compared;
    }

    bk2::error_code_t plan() {
        const auto* grouping = m_wish.grouping ? handleOf<PathHandle>(m_wish.grouping) : nullptr;
        if (!grouping) return bk2::error_code_t::raise(bk2::kinds::is_not_valid_argument, "grouping");
        m_type = treeType(m_wish.type_and_flags, grouping->path());
        m_plan.rows.path = pathOf(m_type, grouping->path());
        m_plan.columns.grouping =
            m_plan.rows.path == grouping->path() ? m_wish.grouping : pathQuery(m_plan.rows.path);
        m_plan.columns.has_totals = m_type != query_bottom_up;
        // Callees of leaves would be nothing at all: a bottom-up tree over call stacks runs down from the
        // roots.
        const bool from_leaf = m_type == query_bottom_up && m_plan.rows.path.back() != Segment::callees;
        m_plan.rows.scope = from_leaf ? FrameScope::leaf : FrameScope::any_frame;
        m_plan.rows.all_rows = m_wish.type_and_flags & query_all_rows;
        m_plan.rows.no_leaf_expansion = m_wish.type_and_flags & query_no_leaf_expansion;
        for (const auto& query : m_wish.columns)
            addColumn(query);
        planOrder();
        // Rows are there if they have samples: where no metric is shown the samples are counted.
        if (m_plan.rows.metrics.empty()) m_plan.rows.metrics.push_back(m_store.sampleCountMetric());
        return planFocus();
    }

private:
    /// A path that is not the wish's own, of the wish's levels as far as it has them.
    bk2::sptr_t<dataface1::IQuery> pathQuery(const GroupingPath& path) const {
        bk2::sptr_t<dataface1::IQuery> below;
        std::vector<bk2::sptr_t<dataface1::IQuery>> levels;
        for (std::size_t level = path.size(); level-- > 0;) {
            levels.insert(levels.begin(), levelQuery(path[level]));
            below =
                makePathQuery({path.begin() + static_cast<std::ptrdiff_t>(level), path.end()}, levels, below);
        }
        return below;
    }

    bk2::sptr_t<dataface1::IQuery> levelQuery(Segment segment) const {
        const auto vector = dataface1::IVectorQuery::cast(m_wish.grouping);
        for (auto member = vector->getQueryIterator(); !member->at_end(); member->next())
            if (handleOf<SegmentHandle>(member->current())->segment() == segment) return member->current();
        return makeLevelQuery(segment, QueryCatalog().level(segment));
    }

    void addColumn(const bk2::sptr_t<dataface1::IQuery>& query) {
        if (handleOf<FactHandle>(query)) return m_plan.columns.facts.push_back(query);
        const auto* metric = handleOf<MetricHandle>(query);
        ShownMetric shown{query, metricPosition(metric->metricName()), std::nullopt};
        if (metric->expansion() && !m_plan.columns.is_compared) {
            shown.expansion = m_plan.rows.expansions.size();
            m_plan.rows.expansions.push_back({shown.metric, *metric->expansion()});
        }
        m_plan.columns.metrics.push_back(std::move(shown));
    }

    std::size_t numberOf(const std::string& metric) const {
        if (metric.empty()) return m_store.sampleCountMetric();
        return m_store.findMetric(metric).value_or(m_store.absentMetric());
    }

    // By name: the positions in two compared results agree even if one lacks several metrics.
    std::size_t metricPosition(const std::string& metric) {
        const auto known = std::ranges::find(m_metric_names, metric);
        if (known != m_metric_names.end()) return static_cast<std::size_t>(known - m_metric_names.begin());
        m_metric_names.push_back(metric);
        m_plan.rows.metrics.push_back(numberOf(metric));
        return m_metric_names.size() - 1;
    }

    void planOrder() {
        RowOrder& order = m_plan.rows.order;
        order.kind = m_plan.columns.has_totals ? WeightKind::total : WeightKind::self;
        order.by_text = m_plan.columns.metrics.empty();
        const auto sort = dataface1::throughVector(m_wish.sort);
        if (!sort) return;
        if (const auto* fact = handleOf<FactHandle>(sort)) order.fact = fact->fact();
        if (handleOf<SegmentHandle>(sort) || order.fact) order.by_text = true;
        const auto* metric = handleOf<MetricHandle>(sort);
        if (!metric) return;
        for (const ShownMetric& shown : m_plan.columns.metrics)
            if (handleOf<MetricHandle>(shown.query)->metricName() == metric->metricName()) {
                order.metric = shown.metric;
                return;
            }
    }

    bk2::error_code_t planFocus() {
        if (!m_wish.focus) return {};
        const auto level = dataface1::throughVector(m_wish.focus);
        const auto* segment = level ? handleOf<SegmentHandle>(level) : nullptr;
        if (!segment || isSampleLevel(dimensionOf(segment->segment())))
            return bk2::error_code_t::raise(bk2::kinds::is_not_valid_argument, "focus");
        const auto value = focusValue(segment->segment());
        if (value)
            m_plan.rows.focus = FocusValue{dimensionOf(segment->segment()), *value};
        else
            m_plan.rows.focus_is_nothing = true;
        return {};
    }

    /// The object's entry: rows of a recursion give the number of a stack node, which stands for its
    /// function.
    std::optional<DimensionValue> focusValue(Segment segment) const {
        if (m_wish.focus_id.is_null()) return 0;
        const auto number = focusNumber();
        if (!number) return entryOfText(segment);
        const std::uint32_t limit =
            isRecursive(segment) ? m_store.nodeCount() : m_store.valueCount(dimensionOf(segment));
        if (*number < 0 || *number >= limit) return std::nullopt;
        const auto entry = static_cast<std::uint32_t>(*number);
        return isRecursive(segment) ? m_store.functionOf(entry) : entry;
    }

    /// Panes may send a number as text.
    std::optional<std::int64_t> focusNumber() const {
        if (m_wish.focus_id.can_get<bk2::s64_t>()) return m_wish.focus_id.get<bk2::s64_t>();
        const std::string_view text = m_wish.focus_id.text();
        std::int64_t number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
        return number;
    }

    /// A value as cells show it; panes that show two results have no numbers.
    std::optional<DimensionValue> entryOfText(Segment segment) const {
        const TextTable& texts = m_store.texts(dimensionOf(segment));
        for (DimensionValue entry = 1; entry < texts.size(); ++entry)
            if (texts.text(entry).text() == m_wish.focus_id.text()) return entry;
        return std::nullopt;
    }

    const TreeWish& m_wish;
    const ProfileStore& m_store;
    TreePlan& m_plan;
    int m_type = query_auto;
    std::vector<std::string> m_metric_names;
};

} // namespace

bk2::error_code_t planTree(const TreeWish& wish, const EngineInput& input, bool is_compared, TreePlan& plan) {
    return Planner(wish, input, is_compared, plan).plan();
}

} // namespace panedeck::engine
