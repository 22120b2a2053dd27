#pragma once

#include "basekit/error_code.h"
#include "notifykit/progress.h"
#include "store/profile_store.h"
#include "store/sample_bits.h"
#include "store/weight.h"

#include <memory>
#include <span>
#include <vector>

namespace panedeck::engine {

/// One metric's weights by stack node, or by position in a selection of nodes: self is the weight of the
/// samples that end in the node, total of those that pass through it. The empty stack's total is its self.
struct MetricWeights {
    WeightVector self;
    WeightVector total;
    /// Empty, or by position: 1 if a sample of weight 0 ends in the node, 2 if one passes through it.
    std::vector<std::uint8_t> weightless;
};

/// The weights of a selection of samples in one or more metrics, by stack node. Immutable.
class WeightSet {
public:
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    /// Over all nodes of the store.
    explicit WeightSet(std::vector<std::shared_ptr<const MetricWeights>> metrics)
        : m_metrics(std::move(metrics)) {}
    /// Over `nodes` only, ascending; all others have no samples.
    WeightSet(std::vector<CallsiteIndex> nodes, std::vector<std::shared_ptr<const MetricWeights>> metrics)
        : m_is_sparse(true), m_nodes(std::move(nodes)), m_metrics(std::move(metrics)) {}

    /// Where the node's weights stand; `npos` if it has none.
    std::size_t positionOf(CallsiteIndex node) const;
    bool isSparse() const { return m_is_sparse; }
    /// The nodes of a sparse set.
    const std::vector<CallsiteIndex>& nodes() const { return m_nodes; }

    const MetricWeights& metric(std::size_t index) const { return *m_metrics[index]; }

    /// Whether a sample ends in the node (scope `leaf`) or passes through it, with whatever weight.
    bool hasSamples(std::size_t position, FrameScope scope) const;

private:
    bool m_is_sparse = false;
    std::vector<CallsiteIndex> m_nodes;
    std::vector<std::shared_ptr<const MetricWeights>> m_metrics;
};

/// Adds up one metric (numbered as in `ProfileStore`) over the samples of `bits`, over all of them if it is
/// null. One pass over the sample columns and one over the nodes; polls `progress`.
bk2::error_code_t aggregateMetric(const ProfileStore& store, std::size_t metric, const SampleBits* bits,
                                  notifykit2::IProgress* progress, MetricWeights& weights);

/// The weights of a few samples, in all of `metrics`, over the nodes that they touch.
bk2::error_code_t aggregateSlice(const ProfileStore& store, std::span<const std::size_t> metrics,
                                 std::span<const std::uint32_t> samples, notifykit2::IProgress* progress,
                                 std::unique_ptr<const WeightSet>& weights);

} // namespace panedeck::engine
