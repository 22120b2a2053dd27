#include "store/profile_validation.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace panedeck::engine {

namespace {

bk2::error_code_t invalid(const std::string& what) {
    return bk2::error_code_t::failure("The profile's data do not fit together: " + what);
}

// Columns are long: loops without a way out in between are several times as fast.

template <class Index>
bool allBelow(const std::vector<Index>& column, std::size_t limit) {
    Index most = 0;
    for (const Index index : column)
        most = std::max(most, index);
    return column.empty() || most < limit;
}

bk2::error_code_t checkTables(const ProfileData& data) {
    if (data.names.empty() || data.modules.empty() || data.source_files.empty() || data.processes.empty() ||
        data.threads.empty() || data.functions.empty())
        return invalid("a table has no entry for the unknown");
    if (data.functions.size() > most_callsites) return invalid("too many functions");
    for (const ThreadRecord& thread : data.threads)
        if (thread.process >= data.processes.size()) return invalid("a thread without its process");
    for (const FunctionRecord& function : data.functions)
        if (function.name >= data.names.size() || function.module >= data.modules.size() ||
            function.source_file >= data.source_files.size())
            return invalid("a function without its name, module or source file");
    return {};
}

bk2::error_code_t checkStackTree(const ProfileData& data) {
    const auto& parents = data.callsite_parents;
    if (parents.size() != data.callsite_functions.size())
        return invalid("stack nodes without parents or functions");
    if (parents.empty() || parents[0] != 0 || data.callsite_functions[0] != 0)
        return invalid("no node for the empty stack");
    if (parents.size() > most_callsites) return invalid("too many stack nodes");
    for (std::size_t node = 1; node < parents.size(); ++node)
        if (parents[node] >= node)
            return invalid(fmt::format("stack node {} stands before its parent", node));
    if (!allBelow(data.callsite_functions, data.functions.size()))
        return invalid("a stack node without its function");
    return {};
}

bool sumFits(const std::vector<std::int64_t>& weights) {
    std::int64_t bits = 0;
    for (const std::int64_t weight : weights)
        bits |= weight;
    if (bits < 0) return false;
    // No weight is larger than all bits together.
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    if (weights.empty() || bits <= most / static_cast<std::int64_t>(weights.size())) return true;
    std::int64_t sum = 0;
    for (const std::int64_t weight : weights)
        if (__builtin_add_overflow(sum, weight, &sum)) return false;
    return true;
}

bool areWeights(const std::vector<double>& weights) {
    return std::ranges::all_of(weights, [](double weight) { return std::isfinite(weight) && weight >= 0; });
}

bk2::error_code_t checkMetric(const MetricColumn& metric, std::size_t records) {
    if (metric.name.empty()) return invalid("a metric without a name");
    const bool lengths_fit = metric.is_integer ? metric.integers.size() == records && metric.decimals.empty()
                                               : metric.decimals.size() == records && metric.integers.empty();
    if (!lengths_fit) return invalid("metric \"" + metric.name + "\" is not as long as the samples");
    if (!sumFits(metric.integers) || !areWeights(metric.decimals))
        return invalid("metric \"" + metric.name + "\" has weights that are negative or too large");
    return {};
}

bk2::error_code_t checkSamples(const ProfileData& data) {
    const std::size_t records = data.sample_records();
    const auto fits = [records](const auto& column) { return column.empty() || column.size() == records; };
    if (!fits(data.times) || !fits(data.sample_threads) || !fits(data.sample_counts))
        return invalid("sample columns of different lengths");
    if (records > std::numeric_limits<std::uint32_t>::max()) return invalid("too many samples");
    if (!allBelow(data.sample_callsites, data.callsite_parents.size()))
        return invalid("a sample without its stack");
    if (!allBelow(data.sample_threads, data.threads.size())) return invalid("a sample without its thread");
    return {};
}

bk2::error_code_t checkMetrics(const ProfileData& data) {
    if (data.metrics.empty()) return invalid("no metric");
    for (std::size_t i = 0; i < data.metrics.size(); ++i) {
        if (auto error = checkMetric(data.metrics[i], data.sample_records()); error.failed()) return error;
        for (std::size_t earlier = 0; earlier < i; ++earlier)
            if (data.metrics[earlier].name == data.metrics[i].name)
                return invalid("two metrics named \"" + data.metrics[i].name + "\"");
    }
    return {};
}

} // namespace

bk2::error_code_t validateProfile(const ProfileData& data) {
    if (auto error = checkTables(data); error.failed()) return error;
    if (auto error = checkStackTree(data); error.failed()) return error;
    if (auto error = checkSamples(data); error.failed()) return error;
    return checkMetrics(data);
}

} // namespace panedeck::engine
