#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "notifykit/progress.h"
#include "store/dimension.h"
#include "store/profile_data.h"
#include "store/result_directory.h"
#include "store/text_table.h"
#include "store/weight.h"

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace panedeck::engine {

class SampleBits;
struct MetricWeights;

/// Which frames of a sample's stack stand for it: all of them, or the leaf alone as in a bottom-up tree.
enum class FrameScope : std::uint8_t { any_frame, leaf };

/// Stack nodes in the order of their value in one dimension: the nodes of value v are one range, ascending.
struct NodeOrder {
    std::vector<std::uint32_t> first; ///< by value, and one more at the end
    std::vector<CallsiteIndex> nodes;

    std::span<const CallsiteIndex> of(DimensionValue value) const {
        return std::span(nodes).subspan(first[value], first[value + 1] - first[value]);
    }
};

/// A profile in memory, immutable: what queries run on. What they need beyond the data is worked out on first
/// use and kept. Safe from any thread.
class PANEDECK_API ProfileStore {
public:
    /// `data` is valid (`validateProfile`). Sorts the stack nodes into preorder if they are not.
    ProfileStore(ProfileData data, ResultFacts facts);
    ~ProfileStore();

    const ProfileData& data() const { return m_data; }
    const ResultFacts& facts() const { return m_facts; }

    /// Number of stack nodes, the one for the empty stack (0) included.
    CallsiteIndex nodeCount() const { return static_cast<CallsiteIndex>(m_data.callsite_parents.size()); }
    CallsiteIndex parentOf(CallsiteIndex node) const { return m_data.callsite_parents[node]; }
    FunctionIndex functionOf(CallsiteIndex node) const { return m_data.callsite_functions[node]; }
    /// Where the node's descendants end in preorder. The empty stack is nobody's ancestor here: its end is 1.
    CallsiteIndex endOf(CallsiteIndex node) const { return m_ends[node]; }

    /// Number of entries of the dimension's table, the unknown one included.
    std::uint32_t valueCount(Dimension dimension) const;
    /// For module, source file and function.
    DimensionValue valueOfFunction(Dimension dimension, FunctionIndex function) const;
    DimensionValue valueOfNode(Dimension dimension, CallsiteIndex node) const {
        return valueOfFunction(dimension, functionOf(node));
    }
    /// For process and thread.
    DimensionValue valueOfThread(Dimension dimension, ThreadIndex thread) const;
    /// The sample's own value; for module, source file and function that of its leaf frame.
    DimensionValue valueOfSample(Dimension dimension, std::size_t sample) const;

    /// What a person reads. A thread or process whose name is not unique carries its number.
    const TextTable& texts(Dimension dimension) const { return *m_texts[static_cast<int>(dimension)]; }

    /// The entry as it can be found in other results: its text and, for a function, the module, file and
    /// place that tell two of one name apart. "" for the unknown entry.
    std::string contentOf(Dimension dimension, DimensionValue value) const;
    /// The entry of that content, or nothing.
    std::optional<DimensionValue> findContent(Dimension dimension, const std::string& content) const;

    /// For module, source file and function. With scope `leaf` only nodes where a sample ends, whatever
    /// filter.
    const NodeOrder& nodesBy(Dimension dimension, FrameScope scope) const;

    /// Metrics are numbered as in the data; the number behind the last one counts samples.
    std::size_t sampleCountMetric() const { return m_data.metrics.size(); }
    /// A metric that only another result has: every sample weighs 0.
    std::size_t absentMetric() const { return m_data.metrics.size() + 1; }
    bool isIntegerMetric(std::size_t metric) const {
        return metric >= sampleCountMetric() || m_data.metrics[metric].is_integer;
    }
    /// Nothing if there is no metric of that name.
    std::optional<std::size_t> findMetric(std::string_view name) const;
    /// The sum over all samples, whatever filter.
    Weight sumOfMetric(std::size_t metric) const;

    /// One metric's weights by stack node over the samples of `filter`, over all of them if it is null. Trees
    /// of one filter share them as long as one of the trees lives; those of all samples stay. Polls
    /// `progress`.
    bk2::error_code_t weightsOf(std::size_t metric, const std::shared_ptr<const SampleBits>& filter,
                                notifykit2::IProgress* progress,
                                std::shared_ptr<const MetricWeights>& weights) const;

private:
    class SharedWeights;

    struct LazyOrder {
        std::once_flag made;
        NodeOrder order;
    };

    std::shared_ptr<const MetricWeights> findWeights(std::size_t metric, const SampleBits* filter) const;
    using ContentIndex = std::unordered_map<std::string, DimensionValue>;
    struct LazyIndex {
        std::once_flag made;
        ContentIndex index;
    };

    NodeOrder makeOrder(Dimension dimension, FrameScope scope) const;
    std::unique_ptr<TextTable> makeTexts(Dimension dimension) const;

    ProfileData m_data;
    ResultFacts m_facts;
    std::vector<CallsiteIndex> m_ends;
    std::array<std::unique_ptr<TextTable>, dimension_count> m_texts;
    mutable std::array<std::array<LazyOrder, 2>, dimension_count> m_orders;
    mutable std::array<LazyIndex, dimension_count> m_contents;
    mutable std::once_flag m_summed;
    mutable std::vector<Weight> m_sums;
    mutable std::mutex m_sharing;
    mutable std::vector<std::weak_ptr<const SharedWeights>> m_shared;
    /// Those of all samples, by metric: every pane shows them, again and again.
    mutable std::map<std::size_t, std::shared_ptr<const SharedWeights>> m_unfiltered;
};

} // namespace panedeck::engine
