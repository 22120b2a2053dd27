#pragma once

#include "store/profile_store.h"

namespace panedeck::engine {

/// Weights of samples as a plain column, or 1 each if there is none.
template <class T>
struct SampleColumn {
    const T* weights;
    auto operator[](std::size_t sample) const { return weights[sample]; }
};
template <std::int64_t weight>
struct ConstantColumn {
    std::int64_t operator[](std::size_t) const { return weight; }
};

/// Calls `use(column)` with the metric's column in its own type.
template <class Use>
auto withColumn(const ProfileStore& store, std::size_t metric, const Use& use) {
    const ProfileData& data = store.data();
    if (metric == store.absentMetric()) return use(ConstantColumn<0>{});
    if (metric == store.sampleCountMetric()) {
        if (data.sample_counts.empty()) return use(ConstantColumn<1>{});
        return use(SampleColumn<std::uint32_t>{data.sample_counts.data()});
    }
    const MetricColumn& column = data.metrics[metric];
    if (column.is_integer) return use(SampleColumn<std::int64_t>{column.integers.data()});
    return use(SampleColumn<double>{column.decimals.data()});
}

} // namespace panedeck::engine
