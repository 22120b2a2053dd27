#pragma once

#include "basekit/error_code.h"
#include "notifykit/progress.h"
#include "store/profile_store.h"
#include "store/sample_bits.h"
#include "store/weight.h"

#include <span>
#include <vector>

namespace panedeck::engine {

/// The samples that share a value in one dimension, ascending, and the sums of their weights by metric.
struct SampleGroup {
    DimensionValue value = 0;
    std::span<const std::uint32_t> samples;
    std::vector<Weight> sums;
};

/// Samples sorted out by their value in one dimension; groups without samples are left out.
struct SampleGroups {
    std::vector<std::uint32_t> order;
    std::vector<SampleGroup> groups;
};

/// Which samples are meant: those listed, or if there is no list those of the bits, or all.
struct SampleSelection {
    bool is_listed = false;
    std::span<const std::uint32_t> samples;
    const SampleBits* bits = nullptr;
};

/// Sorts the selected samples out by their own value (`ProfileStore::valueOfSample`). Polls `progress`.
bk2::error_code_t groupSamples(const ProfileStore& store, Dimension dimension,
                               const SampleSelection& selection, std::span<const std::size_t> metrics,
                               notifykit2::IProgress* progress, SampleGroups& result);

} // namespace panedeck::engine
