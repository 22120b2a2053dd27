#include "store/sample_groups.h"

#include "store/sample_column.h"

namespace panedeck::engine {

namespace {

constexpr std::size_t samples_between_polls = std::size_t{1} << 20;

/// Calls `visit` for each selected sample, ascending; stops and gives false on cancel.
template <class Visit>
bool forEachSample(const ProfileStore& store, const SampleSelection& selection,
                   notifykit2::IProgress* progress, const Visit& visit) {
    const std::size_t count = selection.is_listed ? selection.samples.size() : store.data().sample_records();
    for (std::size_t first = 0; first < count; first += samples_between_polls) {
        const std::size_t end = std::min(first + samples_between_polls, count);
        if (selection.is_listed)
            for (std::size_t i = first; i < end; ++i)
                visit(selection.samples[i]);
        else if (selection.bits)
            selection.bits->forEach(first, end, visit);
        else
            for (std::size_t sample = first; sample < end; ++sample)
                visit(sample);
        if (notifykit2::is_canceled(progress)) return false;
    }
    return true;
}

void sumUp(const ProfileStore& store, std::size_t metric, SampleGroup& group) {
    const bool is_integer = store.isIntegerMetric(metric);
    withColumn(store, metric, [&](const auto& column) {
        Weight sum = zeroWeight();
        for (const std::uint32_t sample : group.samples)
            if (is_integer)
                sum.integer += static_cast<std::int64_t>(column[sample]);
            else
                sum.decimal += static_cast<double>(column[sample]);
        group.sums.push_back(sum);
    });
}

} // namespace

bk2::error_code_t groupSamples(const ProfileStore& store, Dimension dimension,
                               const SampleSelection& selection, std::span<const std::size_t> metrics,
                               notifykit2::IProgress* progress, SampleGroups& result) {
    std::vector<std::uint32_t> first(store.valueCount(dimension) + 1);
    const auto value_of = [&](std::size_t sample) { return store.valueOfSample(dimension, sample); };
    if (!forEachSample(store, selection, progress,
                       [&](std::size_t sample) { ++first[value_of(sample) + 1]; }))
        return bk2::error_code_t::canceled();
    for (std::size_t value = 1; value < first.size(); ++value)
        first[value] += first[value - 1];

    result.order.resize(first.back());
    std::vector<std::uint32_t> next(first);
    const auto place = [&](std::size_t sample) {
        result.order[next[value_of(sample)]++] = static_cast<std::uint32_t>(sample);
    };
    if (!forEachSample(store, selection, progress, place)) return bk2::error_code_t::canceled();

    for (DimensionValue value = 0; value + 1 < first.size(); ++value) {
        if (first[value] == first[value + 1]) continue;
        SampleGroup group;
        group.value = value;
        group.samples = std::span(result.order).subspan(first[value], first[value + 1] - first[value]);
        for (const std::size_t metric : metrics)
            sumUp(store, metric, group);
        result.groups.push_back(std::move(group));
        if (notifykit2::is_canceled(progress)) return bk2::error_code_t::canceled();
    }
    return {};
}

} // namespace panedeck::engine
