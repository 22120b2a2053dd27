#include "import/profile_builder.h"

#include "import/hashing.h"

#include <algorithm>

namespace panedeck::engine {

namespace {

std::uint64_t hashFunction(const FunctionRecord& f, HashStrength strength) {
    const std::uint64_t names = std::uint64_t{f.name} << 32 | f.module;
    const std::uint64_t place = hashWords(std::uint64_t{f.source_file} << 32 | f.line, f.column, strength);
    return hashWords(names, place, strength);
}

bool sameFunction(const FunctionRecord& a, const FunctionRecord& b) {
    return a.name == b.name && a.module == b.module && a.source_file == b.source_file && a.line == b.line &&
           a.column == b.column;
}

} // namespace

ProfileBuilder::ProfileBuilder(const ImportLimits& limits) : m_limits(limits), m_functions(1) {}

FunctionIndex ProfileBuilder::function(const FunctionRecord& identity) {
    const std::uint64_t hash = hashFunction(identity, m_function_lookup.strength());
    const FunctionIndex found = m_function_lookup.find(
        hash, [&](FunctionIndex index) { return sameFunction(m_functions[index], identity); });
    if (found != HashIndex::none) return found;
    const auto index = static_cast<FunctionIndex>(m_functions.size());
    m_functions.push_back(identity);
    m_function_lookup.insert(index, [this](FunctionIndex at, HashStrength strength) {
        return hashFunction(m_functions[at], strength);
    });
    return index;
}

FunctionIndex ProfileBuilder::functionNamed(std::string_view text) {
    const StringIndex name_index = name(text);
    if (name_index >= m_function_by_name.size()) m_function_by_name.resize(2 * std::size_t{name_index} + 1);
    FunctionIndex& index = m_function_by_name[name_index];
    if (!index) index = function({name_index, 0, 0, 0, 0});
    return index;
}

std::optional<MetricIndex> ProfileBuilder::metric(std::string_view name, MetricUnit unit) {
    const auto found = std::find_if(m_metrics.begin(), m_metrics.end(),
                                    [&](const MetricBuilder& column) { return column.name() == name; });
    if (found == m_metrics.end() && m_metrics.size() == m_limits.metrics) return std::nullopt;
    const auto index = static_cast<MetricIndex>(found - m_metrics.begin());
    if (found == m_metrics.end()) m_metrics.emplace_back(std::string(name), unit);
    return index;
}

void ProfileBuilder::addSample(const SampleRecord& sample) {
    const std::size_t record = m_sample_callsites.size();
    if (!m_metrics[sample.metric].add(record, sample.weight)) m_failure = total_would_wrap;
    m_sample_callsites.push_back(sample.callsite);
    m_sample_threads.push_back(sample.thread);
    m_has_threads |= sample.thread != 0;
    addTime(sample.time);
    checkLimits();
}

void ProfileBuilder::addTime(const std::optional<std::int64_t>& time) {
    if (time && !m_first_timed) m_first_timed = m_times.size();
    const std::int64_t before = m_times.empty() ? 0 : m_times.back();
    m_times.push_back(time.value_or(before));
}

void ProfileBuilder::addMerged(CallsiteIndex callsite, MetricIndex metric, const SampleWeight& weight,
                               std::uint32_t sample_count) {
    if (callsite >= m_merged_record.size()) m_merged_record.resize(2 * std::size_t{callsite} + 1);
    std::uint32_t& record = m_merged_record[callsite];
    if (!record) {
        m_sample_callsites.push_back(callsite);
        m_sample_counts.push_back(0);
        record = static_cast<std::uint32_t>(m_sample_callsites.size());
    }
    if (__builtin_add_overflow(m_sample_counts[record - 1], sample_count, &m_sample_counts[record - 1]))
        m_failure = "one stack has more than 4294967295 samples";
    if (!m_metrics[metric].add(record - 1, weight)) m_failure = total_would_wrap;
    checkLimits();
}

void ProfileBuilder::checkLimits() {
    if (std::max(m_tree.size(), m_functions.size()) > m_limits.stack_nodes)
        m_failure = "there are too many different stacks or functions";
    if (m_names.text_bytes() + m_modules.text_bytes() + m_source_files.text_bytes() > m_limits.text_bytes)
        m_failure = "the names together are too long";
    if (m_sample_callsites.size() * m_metrics.size() > m_limits.sample_cells)
        m_failure = "there are too many samples";
}

// Samples before the first known time get that one: a guess of 0 would stretch the time line.
void ProfileBuilder::takeTimes(ProfileData& profile) {
    if (!m_first_timed) return;
    const auto first = m_times.begin() + static_cast<std::ptrdiff_t>(*m_first_timed);
    std::fill(m_times.begin(), first, *first);
    profile.times = std::move(m_times);
}

ProfileData ProfileBuilder::take() {
    ProfileData profile;
    profile.names = m_names.take();
    profile.modules = m_modules.take();
    profile.source_files = m_source_files.take();
    profile.processes = m_threads.takeProcesses();
    profile.threads = m_threads.takeThreads();
    profile.functions = std::move(m_functions);
    profile.callsite_parents = m_tree.takeParents();
    profile.callsite_functions = m_tree.takeFunctions();
    takeTimes(profile);
    if (m_has_threads) profile.sample_threads = std::move(m_sample_threads);
    for (MetricBuilder& column : m_metrics)
        profile.metrics.push_back(column.take(m_sample_callsites.size()));
    profile.sample_callsites = std::move(m_sample_callsites);
    profile.sample_counts = std::move(m_sample_counts);
    return profile;
}

} // namespace panedeck::engine
