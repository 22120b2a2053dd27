#include "result_summary.h"

#include "query/engine_input.h"

namespace panedeck::engine {

namespace {

bk2::variant_t totalOf(const ProfileStore& store, std::size_t metric) {
    const Weight sum = store.sumOfMetric(metric);
    return store.isIntegerMetric(metric) ? bk2::variant_t(bk2::s64_t{sum.integer})
                                         : bk2::variant_t(sum.decimal);
}

} // namespace

ResultSummary summarizeResult(const bk2::sptr_t<dataface1::IInputData>& input) {
    const auto own = bk2::interface_cast<EngineInput>(input);
    if (!own) return {};
    const ProfileStore& store = *own->store();
    ResultSummary summary{store.facts(), store.data().samples(), {}};
    for (std::size_t i = 0; i < store.data().metrics.size(); ++i) {
        const MetricColumn& metric = store.data().metrics[i];
        summary.metrics.push_back({metric.name, metric.unit, totalOf(store, i)});
    }
    return summary;
}

} // namespace panedeck::engine
