#pragma once

#include "store/sample_groups.h"
#include "store/weight_set.h"

#include <deque>
#include <map>
#include <memory>

namespace panedeck::engine {

/// Number of a slice in its table; 0 is everything that the filter lets through.
using SliceIndex = std::uint32_t;

/// The samples of one tree, cut by values of dimensions as far as rows asked for it: slices of slices.
/// Weights of a slice are added up when first needed. For one thread at a time.
class SliceTable {
public:
    SliceTable(std::shared_ptr<const ProfileStore> store, std::vector<std::size_t> metrics,
               std::shared_ptr<const SampleBits> filter);

    /// The slice's weights by stack node; kept. Polls `progress`.
    bk2::error_code_t weightsOf(SliceIndex slice, notifykit2::IProgress* progress, const WeightSet*& weights);

    struct Part {
        DimensionValue value;
        SliceIndex slice;
        const SampleGroup* group;
    };
    /// The slice's parts by its samples' own values, ascending by value, none empty; kept.
    bk2::error_code_t partsOf(SliceIndex slice, Dimension dimension, notifykit2::IProgress* progress,
                              const std::vector<Part>*& parts);

private:
    struct Cut {
        SampleGroups groups;
        std::vector<Part> parts;
    };
    struct Slice {
        std::span<const std::uint32_t> samples;
        std::unique_ptr<const WeightSet> weights;
        std::map<Dimension, std::unique_ptr<const Cut>> cuts;
    };

    bk2::error_code_t aggregateAll(notifykit2::IProgress* progress,
                                   std::unique_ptr<const WeightSet>& weights) const;

    std::shared_ptr<const ProfileStore> m_store;
    std::vector<std::size_t> m_metrics;
    std::shared_ptr<const SampleBits> m_filter;
    std::deque<Slice> m_slices;
};

} // namespace panedeck::engine
