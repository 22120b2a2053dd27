#include "tree/slice_table.h"

namespace panedeck::engine {

SliceTable::SliceTable(std::shared_ptr<const ProfileStore> store, std::vector<std::size_t> metrics,
                       std::shared_ptr<const SampleBits> filter)
    : m_store(std::move(store)), m_metrics(std::move(metrics)), m_filter(std::move(filter)), m_slices(1) {}

bk2::error_code_t SliceTable::aggregateAll(notifykit2::IProgress* progress,
                                           std::unique_ptr<const WeightSet>& weights) const {
    std::vector<std::shared_ptr<const MetricWeights>> metrics;
    for (const std::size_t metric : m_metrics) {
        std::shared_ptr<const MetricWeights> added;
        const auto error = m_store->weightsOf(metric, m_filter, progress, added);
        if (error.failed()) return error;
        metrics.push_back(std::move(added));
    }
    weights = std::make_unique<const WeightSet>(std::move(metrics));
    return {};
}

bk2::error_code_t SliceTable::weightsOf(SliceIndex slice, notifykit2::IProgress* progress,
                                        const WeightSet*& weights) {
    Slice& entry = m_slices[slice];
    if (!entry.weights) {
        const auto error = slice == 0
                               ? aggregateAll(progress, entry.weights)
                               : aggregateSlice(*m_store, m_metrics, entry.samples, progress, entry.weights);
        if (error.failed()) {
            entry.weights.reset();
            return error;
        }
    }
    weights = entry.weights.get();
    return {};
}

bk2::error_code_t SliceTable::partsOf(SliceIndex slice, Dimension dimension, notifykit2::IProgress* progress,
                                      const std::vector<Part>*& parts) {
    std::unique_ptr<const Cut>& known = m_slices[slice].cuts[dimension];
    if (!known) {
        auto cut = std::make_unique<Cut>();
        SampleSelection selection;
        selection.is_listed = slice != 0;
        selection.samples = m_slices[slice].samples;
        selection.bits = m_filter.get();
        const auto error = groupSamples(*m_store, dimension, selection, m_metrics, progress, cut->groups);
        if (error.failed()) return error;
        for (const SampleGroup& group : cut->groups.groups) {
            cut->parts.push_back({group.value, static_cast<SliceIndex>(m_slices.size()), &group});
            m_slices.emplace_back().samples = group.samples;
        }
        known = std::move(cut);
    }
    parts = &known->parts;
    return {};
}

} // namespace panedeck::engine
