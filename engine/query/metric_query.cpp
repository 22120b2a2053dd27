#include "query/metric_query.h"

#include "basekit/ref_counted.h"

namespace panedeck::engine {

namespace {

using dataface1::IInfoQuery;
using dataface1::IQuery;
using QueryPtr = bk2::sptr_t<IQuery>;

/// What copies of a metric are made from.
class MetricParts : public MetricHandle {
public:
    const std::string& metricName() const override { return m_metric_name; }
    std::optional<Dimension> expansion() const override {
        const auto* level = m_expansion ? handleOf<SegmentHandle>(m_expansion) : nullptr;
        if (!level) return std::nullopt;
        return dimensionOf(level->segment());
    }
    const QueryPtr& expansionQuery() const { return m_expansion; }
    virtual QueryPtr copy(const QueryPtr& expansion, std::uint32_t flags) const = 0;

protected:
    MetricParts(std::string metric_name, QueryPtr base, QueryPtr expansion)
        : m_metric_name(std::move(metric_name)), m_base(std::move(base)), m_expansion(std::move(expansion)) {}
    ~MetricParts() = default;

    std::string m_metric_name;
    QueryPtr m_base;
    QueryPtr m_expansion;
};

template <class Interface>
class MetricQueryBase : public FactQuery<Interface>, public MetricParts {
public:
    MetricQueryBase(QueryFacts facts, std::string metric_name, QueryPtr base, QueryPtr expansion)
        : FactQuery<Interface>(std::move(facts)),
          MetricParts(std::move(metric_name), std::move(base), std::move(expansion)) {}

    std::string getName() const override {
        const auto* level = m_expansion ? handleOf<SegmentHandle>(m_expansion) : nullptr;
        const std::string& name = this->facts().name;
        return level ? name + "/" + std::string(segmentName(level->segment())) : name;
    }
    bool isSame(const IQuery& other) const override { return other.getName() == getName(); }
    std::vector<QueryPtr> getPercentBaseMetrics() const override { return {m_base ? m_base : this->self()}; }
    bk2::variant_t getAttribute(std::string_view name, const bk2::variant_t& otherwise) const override {
        if (name == "query" && m_flags != 0) return bk2::variant_t(static_cast<bk2::s32_t>(m_flags));
        return FactQuery<Interface>::getAttribute(name, otherwise);
    }
    QueryPtr withExpansion(const QueryPtr& expansion) const override {
        if (!expansion) return m_expansion ? copy(nullptr, m_flags) : this->self();
        const QueryPtr level = dataface1::throughVector(expansion);
        const auto* handle = level ? handleOf<SegmentHandle>(level) : nullptr;
        return handle && !isRecursive(handle->segment()) ? copy(level, m_flags) : nullptr;
    }
    QueryPtr copy(const QueryPtr& expansion, std::uint32_t flags) const override;

    std::uint32_t m_flags = 0;

protected:
    ~MetricQueryBase() override = default;
};

template <class Interface>
class MetricQuery final : public bk2::ref_counted_t<MetricQuery<Interface>, bk2::mt_ref_count_impl_t,
                                                    MetricQueryBase<Interface>> {
public:
    using Base =
        bk2::ref_counted_t<MetricQuery<Interface>, bk2::mt_ref_count_impl_t, MetricQueryBase<Interface>>;
    using Base::Base;
};

template <class Interface>
QueryPtr MetricQueryBase<Interface>::copy(const QueryPtr& expansion, std::uint32_t flags) const {
    auto query = bk2::make_sptr<MetricQuery<Interface>>(this->facts(), m_metric_name, m_base, expansion);
    query->m_flags = flags;
    return query;
}

class ExpansionValueBase : public FactQuery<IInfoQuery> {
public:
    ExpansionValueBase(QueryFacts facts, QueryPtr dimension, bk2::variant_t value)
        : FactQuery(std::move(facts)), m_dimension(std::move(dimension)), m_value(std::move(value)) {}

    bool isSame(const IQuery& other) const override {
        const auto* same_kind = dynamic_cast<const ExpansionValueBase*>(&other);
        return same_kind && other.getName() == getName() && same_kind->m_value == m_value;
    }
    std::string getAliasForUnknown() const override { return {}; }
    std::vector<dataface1::query_restriction_t> getRestrictions() const override {
        return {{m_dimension, m_value}};
    }
    std::string getTableName() const override { return {}; }
    std::string getColumnName() const override { return {}; }
    std::string getRecursionText() const override { return {}; }

protected:
    ~ExpansionValueBase() override = default;

private:
    QueryPtr m_dimension;
    bk2::variant_t m_value;
};

class ExpansionValueQuery final
    : public bk2::ref_counted_t<ExpansionValueQuery, bk2::mt_ref_count_impl_t, ExpansionValueBase> {
public:
    using ref_counted_t::ref_counted_t;
};

} // namespace

bk2::sptr_t<IQuery> makeMetricQuery(QueryFacts facts, std::string metric_name, QueryPtr base,
                                    QueryPtr expansion) {
    if (facts.value_type == dataface1::query_value_type_t::time)
        return bk2::make_sptr<MetricQuery<dataface1::ITimeQuery>>(std::move(facts), std::move(metric_name),
                                                                  std::move(base), std::move(expansion));
    return bk2::make_sptr<MetricQuery<IQuery>>(std::move(facts), std::move(metric_name), std::move(base),
                                               std::move(expansion));
}

bk2::sptr_t<IQuery> makeColumnQuery(const QueryPtr& metric, std::uint32_t flags) {
    const auto* parts = handleOf<MetricParts>(metric);
    return parts ? parts->copy(parts->expansionQuery(), flags) : metric;
}

bk2::sptr_t<IQuery> makeExpansionValueQuery(const QueryPtr& metric, const bk2::variant_t& value,
                                            const std::string& text, std::uint32_t flags) {
    QueryFacts facts;
    facts.name = metric->getName();
    facts.display_name = text;
    facts.description = metric->getDescription();
    facts.value_type = metric->getValueType();
    for (const char* name : {"format", "timeUnit"})
        if (const auto attribute = metric->getAttribute(name, {}); !attribute.is_null())
            facts.attributes.emplace_back(name, attribute);
    facts.attributes.emplace_back("query", bk2::variant_t(static_cast<bk2::s32_t>(flags)));
    return bk2::make_sptr<ExpansionValueQuery>(std::move(facts), expansionOf(metric), value);
}

bk2::sptr_t<IQuery> expansionOf(const QueryPtr& metric) {
    const auto* parts = handleOf<MetricParts>(metric);
    return parts ? parts->expansionQuery() : nullptr;
}

} // namespace panedeck::engine
