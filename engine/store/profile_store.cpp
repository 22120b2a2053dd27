#include "store/profile_store.h"

#include "store/sample_column.h"
#include "store/stack_tree.h"
#include "store/weight_set.h"

#include <fmt/format.h>

#include <unordered_map>

namespace panedeck::engine {

namespace {

/// Names of processes or threads, each with its number where the name alone does not tell which one it is.
template <class Record>
std::vector<std::string> distinctNames(const std::vector<Record>& records, const char* number_name,
                                       std::int64_t Record::*number) {
    std::unordered_map<std::string_view, int> uses;
    for (std::size_t i = 1; i < records.size(); ++i)
        ++uses[records[i].name];
    std::vector<std::string> names;
    names.reserve(records.size());
    for (const Record& record : records) {
        if (record.name.empty())
            names.push_back(fmt::format("{} {}", number_name, record.*number));
        else if (uses[record.name] > 1)
            names.push_back(fmt::format("{} ({} {})", record.name, number_name, record.*number));
        else
            names.push_back(record.name);
    }
    return names;
}

std::unique_ptr<TextTable> textsOf(std::vector<std::string> names) {
    const auto count = static_cast<std::uint32_t>(names.size());
    return std::make_unique<TextTable>(
        count, [names = std::move(names)](std::uint32_t entry) { return names[entry]; });
}

/// Functions of one name share it. Text 0 stands for the unknown function, so that names count from 1.
std::unique_ptr<TextTable> functionTexts(const ProfileData& data) {
    bk2::array_t<std::uint32_t> numbers;
    numbers.reserve(data.functions.size());
    for (const FunctionRecord& function : data.functions)
        numbers.push_back(numbers.empty() ? 0 : function.name + 1);
    return std::make_unique<TextTable>(std::move(numbers), static_cast<std::uint32_t>(data.names.size() + 1),
                                       [&data](std::uint32_t number) { return data.names[number - 1]; });
}

} // namespace

/// Weights together with the filter that they are of: while they live, no other filter has its address.
class ProfileStore::SharedWeights {
public:
    std::size_t metric = 0;
    std::shared_ptr<const SampleBits> filter;
    MetricWeights weights;
};

ProfileStore::ProfileStore(ProfileData data, ResultFacts facts)
    : m_data(std::move(data)), m_facts(std::move(facts)) {
    sortIntoPreorder(m_data);
    m_ends = subtreeEnds(m_data.callsite_parents);
    m_ends[0] = 1;
    for (int dimension = 0; dimension < dimension_count; ++dimension)
        m_texts[dimension] = makeTexts(static_cast<Dimension>(dimension));
}

ProfileStore::~ProfileStore() = default;

std::uint32_t ProfileStore::valueCount(Dimension dimension) const {
    return texts(dimension).size();
}

DimensionValue ProfileStore::valueOfFunction(Dimension dimension, FunctionIndex function) const {
    if (dimension == Dimension::function) return function;
    const FunctionRecord& record = m_data.functions[function];
    return dimension == Dimension::module ? record.module : record.source_file;
}

DimensionValue ProfileStore::valueOfThread(Dimension dimension, ThreadIndex thread) const {
    return dimension == Dimension::thread ? thread : m_data.threads[thread].process;
}

DimensionValue ProfileStore::valueOfSample(Dimension dimension, std::size_t sample) const {
    if (!isSampleLevel(dimension)) return valueOfNode(dimension, m_data.sample_callsites[sample]);
    return valueOfThread(dimension, m_data.sample_threads.empty() ? 0 : m_data.sample_threads[sample]);
}

std::string ProfileStore::contentOf(Dimension dimension, DimensionValue value) const {
    if (value == 0) return {};
    const std::string text(texts(dimension).text(value).text());
    if (dimension != Dimension::function) return text;
    const FunctionRecord& function = m_data.functions[value];
    return fmt::format("{}\x1f{}\x1f{}\x1f{}:{}", text, m_data.modules[function.module],
                       m_data.source_files[function.source_file], function.line, function.column);
}

std::optional<DimensionValue> ProfileStore::findContent(Dimension dimension,
                                                        const std::string& content) const {
    if (content.empty()) return 0;
    LazyIndex& lazy = m_contents[static_cast<int>(dimension)];
    std::call_once(lazy.made, [&] {
        for (DimensionValue value = 1; value < valueCount(dimension); ++value)
            lazy.index.emplace(contentOf(dimension, value), value);
    });
    const auto found = lazy.index.find(content);
    if (found == lazy.index.end()) return std::nullopt;
    return found->second;
}

const NodeOrder& ProfileStore::nodesBy(Dimension dimension, FrameScope scope) const {
    LazyOrder& lazy = m_orders[static_cast<int>(dimension)][static_cast<int>(scope)];
    std::call_once(lazy.made, [&] { lazy.order = makeOrder(dimension, scope); });
    return lazy.order;
}

NodeOrder ProfileStore::makeOrder(Dimension dimension, FrameScope scope) const {
    std::vector<std::uint8_t> wanted(nodeCount(), scope == FrameScope::any_frame);
    for (const CallsiteIndex callsite : m_data.sample_callsites)
        wanted[callsite] = 1;
    NodeOrder order;
    order.first.assign(valueCount(dimension) + 1, 0);
    for (CallsiteIndex node = 0; node < nodeCount(); ++node)
        order.first[valueOfNode(dimension, node) + 1] += wanted[node];
    for (std::size_t value = 1; value < order.first.size(); ++value)
        order.first[value] += order.first[value - 1];
    order.nodes.resize(order.first.back());
    std::vector<std::uint32_t> next(order.first);
    for (CallsiteIndex node = 0; node < nodeCount(); ++node)
        if (wanted[node]) order.nodes[next[valueOfNode(dimension, node)]++] = node;
    return order;
}

std::unique_ptr<TextTable> ProfileStore::makeTexts(Dimension dimension) const {
    const auto table = [this](std::size_t count, auto text_of) {
        return std::make_unique<TextTable>(static_cast<std::uint32_t>(count), text_of);
    };
    switch (dimension) {
    case Dimension::process:
        return textsOf(distinctNames(m_data.processes, "PID", &ProcessRecord::pid));
    case Dimension::thread:
        return textsOf(distinctNames(m_data.threads, "TID", &ThreadRecord::tid));
    case Dimension::module:
        return table(m_data.modules.size(), [this](std::uint32_t entry) { return m_data.modules[entry]; });
    case Dimension::source_file:
        return table(m_data.source_files.size(),
                     [this](std::uint32_t entry) { return m_data.source_files[entry]; });
    case Dimension::function:
        break;
    }
    return functionTexts(m_data);
}

std::optional<std::size_t> ProfileStore::findMetric(std::string_view name) const {
    for (std::size_t metric = 0; metric < m_data.metrics.size(); ++metric)
        if (m_data.metrics[metric].name == name) return metric;
    return std::nullopt;
}

Weight ProfileStore::sumOfMetric(std::size_t metric) const {
    std::call_once(m_summed, [this] {
        for (std::size_t i = 0; i <= absentMetric(); ++i)
            m_sums.push_back(withColumn(*this, i, [&](const auto& column) {
                Weight sum = zeroWeight();
                for (std::size_t sample = 0; sample < m_data.sample_records(); ++sample)
                    if (isIntegerMetric(i))
                        sum.integer += static_cast<std::int64_t>(column[sample]);
                    else
                        sum.decimal += static_cast<double>(column[sample]);
                return sum;
            }));
    });
    return m_sums[metric];
}

std::shared_ptr<const MetricWeights> ProfileStore::findWeights(std::size_t metric,
                                                               const SampleBits* filter) const {
    const std::lock_guard lock(m_sharing);
    std::erase_if(m_shared, [](const auto& entry) { return entry.expired(); });
    for (const auto& entry : m_shared)
        if (const auto shared = entry.lock();
            shared && shared->metric == metric && shared->filter.get() == filter)
            return {shared, &shared->weights};
    return nullptr;
}

bk2::error_code_t ProfileStore::weightsOf(std::size_t metric, const std::shared_ptr<const SampleBits>& filter,
                                          notifykit2::IProgress* progress,
                                          std::shared_ptr<const MetricWeights>& weights) const {
    weights = findWeights(metric, filter.get());
    if (weights) return {};
    // Two trees that start together may both add up; neither waits for the other.
    const auto shared = std::make_shared<SharedWeights>();
    shared->metric = metric;
    shared->filter = filter;
    const auto error = aggregateMetric(*this, metric, filter.get(), progress, shared->weights);
    if (error.failed()) return error;
    weights = {shared, &shared->weights};
    const std::lock_guard lock(m_sharing);
    m_shared.push_back(shared);
    if (!filter) m_unfiltered.try_emplace(metric, shared);
    return {};
}

} // namespace panedeck::engine
