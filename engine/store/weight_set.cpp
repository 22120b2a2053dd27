#include "store/weight_set.h"

#include "store/sample_column.h"

#include <algorithm>
#include <numeric>

namespace panedeck::engine {

namespace {

// A few milliseconds of work; a multiple of 64 for the bits.
constexpr std::size_t samples_between_polls = std::size_t{1} << 20;

constexpr std::uint8_t ends_weightless = 1;
constexpr std::uint8_t passes_weightless = 2;

bk2::error_code_t canceledIf(const notifykit2::IProgress* progress) {
    return notifykit2::is_canceled(progress) ? bk2::error_code_t::canceled() : bk2::error_code_t();
}

template <class Number, class Column>
void addRange(const Column& column, const CallsiteIndex* callsites, const SampleBits* bits, std::size_t first,
              std::size_t end, std::vector<Number>& self, std::vector<std::uint8_t>& weightless) {
    const auto add_sample = [&](std::size_t sample) {
        const auto weight = column[sample];
        self[callsites[sample]] += static_cast<Number>(weight);
        if (weight == 0) [[unlikely]] {
            if (weightless.empty()) weightless.resize(self.size());
            weightless[callsites[sample]] |= ends_weightless | passes_weightless;
        }
    };
    if (bits) return bits->forEach(first, end, add_sample);
    for (std::size_t sample = first; sample < end; ++sample)
        add_sample(sample);
}

/// Adds each position's weight to its parent's, which is smaller; position 0 is the empty stack, nobody's
/// parent.
template <class Number, class ParentOf>
void rollUp(std::vector<Number>& total, std::vector<std::uint8_t>& weightless, const ParentOf& parent_of) {
    for (std::size_t position = total.size(); position-- > 1;) {
        const std::size_t parent = parent_of(position);
        if (parent != 0) total[parent] += total[position];
    }
    if (weightless.empty()) return;
    for (std::size_t position = total.size(); position-- > 1;) {
        const std::size_t parent = parent_of(position);
        if (parent != 0) weightless[parent] |= weightless[position] & passes_weightless;
    }
}

template <class Number, class Column>
bk2::error_code_t aggregateColumn(const ProfileStore& store, const Column& column, const SampleBits* bits,
                                  notifykit2::IProgress* progress, MetricWeights& weights) {
    const auto& callsites = store.data().sample_callsites;
    std::vector<Number> self(store.nodeCount());
    for (std::size_t first = 0; first < callsites.size(); first += samples_between_polls) {
        const std::size_t end = std::min(first + samples_between_polls, callsites.size());
        addRange(column, callsites.data(), bits, first, end, self, weights.weightless);
        if (auto error = canceledIf(progress); error.failed()) return error;
    }
    std::vector<Number> total(self);
    rollUp(total, weights.weightless, [&](std::size_t node) { return store.parentOf(CallsiteIndex(node)); });
    weights.self = std::move(self);
    weights.total = std::move(total);
    return canceledIf(progress);
}

/// The nodes that samples touch, ascending, and the position of each one's parent. The empty stack is always
/// the first.
struct TouchedNodes {
    std::vector<CallsiteIndex> nodes{0};
    std::vector<std::uint32_t> parents{0};

    std::size_t positionOf(CallsiteIndex node) const {
        return static_cast<std::size_t>(std::ranges::lower_bound(nodes, node) - nodes.begin());
    }
};

std::vector<CallsiteIndex> leavesOf(const ProfileStore& store, std::span<const std::uint32_t> samples) {
    std::vector<CallsiteIndex> leaves;
    leaves.reserve(samples.size());
    for (const std::uint32_t sample : samples)
        leaves.push_back(store.data().sample_callsites[sample]);
    std::ranges::sort(leaves);
    leaves.erase(std::unique(leaves.begin(), leaves.end()), leaves.end());
    return leaves;
}

TouchedNodes touchedBy(const ProfileStore& store, std::span<const std::uint32_t> samples) {
    TouchedNodes touched;
    // Positions of the path to the leaf before. In preorder, what a leaf adds stands behind all that is
    // there.
    std::vector<std::uint32_t> path{0};
    std::vector<CallsiteIndex> added;
    for (const CallsiteIndex leaf : leavesOf(store, samples)) {
        while (path.size() > 1 && store.endOf(touched.nodes[path.back()]) <= leaf)
            path.pop_back();
        added.clear();
        for (CallsiteIndex node = leaf; node != touched.nodes[path.back()]; node = store.parentOf(node))
            added.push_back(node);
        for (std::size_t i = added.size(); i-- > 0;) {
            touched.parents.push_back(path.back());
            path.push_back(static_cast<std::uint32_t>(touched.nodes.size()));
            touched.nodes.push_back(added[i]);
        }
    }
    return touched;
}

template <class Number, class Column>
MetricWeights sliceColumn(const ProfileStore& store, const Column& column, const TouchedNodes& touched,
                          std::span<const std::uint32_t> samples) {
    std::vector<Number> self(touched.nodes.size());
    MetricWeights weights;
    for (const std::uint32_t sample : samples) {
        const std::size_t position = touched.positionOf(store.data().sample_callsites[sample]);
        const auto weight = column[sample];
        self[position] += static_cast<Number>(weight);
        if (weight == 0) [[unlikely]] {
            if (weights.weightless.empty()) weights.weightless.resize(self.size());
            weights.weightless[position] |= ends_weightless | passes_weightless;
        }
    }
    std::vector<Number> total(self);
    rollUp(total, weights.weightless, [&](std::size_t position) { return touched.parents[position]; });
    weights.self = std::move(self);
    weights.total = std::move(total);
    return weights;
}

} // namespace

std::size_t WeightSet::positionOf(CallsiteIndex node) const {
    if (!m_is_sparse) return node;
    const auto found = std::ranges::lower_bound(m_nodes, node);
    if (found == m_nodes.end() || *found != node) return npos;
    return static_cast<std::size_t>(found - m_nodes.begin());
}

bool WeightSet::hasSamples(std::size_t position, FrameScope scope) const {
    const MetricWeights& weights = *m_metrics.front();
    const WeightVector& column = scope == FrameScope::leaf ? weights.self : weights.total;
    const bool has_weight =
        std::visit([position](const auto& values) { return values[position] != 0; }, column);
    if (has_weight || weights.weightless.empty()) return has_weight;
    return weights.weightless[position] & (scope == FrameScope::leaf ? ends_weightless : passes_weightless);
}

bk2::error_code_t aggregateMetric(const ProfileStore& store, std::size_t metric, const SampleBits* bits,
                                  notifykit2::IProgress* progress, MetricWeights& weights) {
    return withColumn(store, metric, [&](const auto& column) {
        if (store.isIntegerMetric(metric))
            return aggregateColumn<std::int64_t>(store, column, bits, progress, weights);
        return aggregateColumn<double>(store, column, bits, progress, weights);
    });
}

bk2::error_code_t aggregateSlice(const ProfileStore& store, std::span<const std::size_t> metrics,
                                 std::span<const std::uint32_t> samples, notifykit2::IProgress* progress,
                                 std::unique_ptr<const WeightSet>& weights) {
    TouchedNodes touched = touchedBy(store, samples);
    std::vector<std::shared_ptr<const MetricWeights>> columns;
    for (const std::size_t metric : metrics) {
        if (auto error = canceledIf(progress); error.failed()) return error;
        columns.push_back(withColumn(store, metric, [&](const auto& column) {
            return std::make_shared<const MetricWeights>(
                store.isIntegerMetric(metric) ? sliceColumn<std::int64_t>(store, column, touched, samples)
                                              : sliceColumn<double>(store, column, touched, samples));
        }));
    }
    weights = std::make_unique<const WeightSet>(std::move(touched.nodes), std::move(columns));
    return canceledIf(progress);
}

} // namespace panedeck::engine
