#pragma once

#include "store/profile_data.h"
#include "tree/grouping_path.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace panedeck::tests {

/// The slow, obvious way to a tree: keeps for each row which samples it stands for and at which places of
/// their stacks, and adds up sample by sample.
class TreeOracle {
public:
    TreeOracle(const engine::ProfileData& data, engine::GroupingPath path, bool from_leaf, bool shows_totals,
               std::vector<bool> selected)
        : m_data(data), m_path(std::move(path)), m_from_leaf(from_leaf), m_shows_totals(shows_totals) {
        for (std::size_t sample = 0; sample < data.sample_records(); ++sample) {
            std::vector<engine::FunctionIndex> stack;
            for (auto node = data.sample_callsites[sample]; node != 0; node = data.callsite_parents[node])
                stack.insert(stack.begin(), data.callsite_functions[node]);
            // The empty stack is one frame of the unknown function.
            if (stack.empty()) stack.push_back(0);
            m_stacks.push_back(std::move(stack));
            if (selected[sample]) m_selected.push_back(sample);
        }
    }

    std::string print(int depth) const {
        Row all;
        for (const std::size_t sample : m_selected)
            all.places[sample];
        std::string text;
        printChildren(all, 0, 0, depth, text);
        return text.empty() ? "empty\n" : text;
    }

private:
    using Segment = engine::Segment;
    using Dimension = engine::Dimension;

    /// Where a row's frame stands in a stack, and where the walk upward has got to.
    using Place = std::pair<std::size_t, std::size_t>;
    struct Row {
        bool has_frames = false;
        std::map<std::size_t, std::set<Place>> places; ///< by sample
    };

    std::uint32_t valueOfFrame(Dimension dimension, engine::FunctionIndex function) const {
        if (dimension == Dimension::function) return function;
        const engine::FunctionRecord& record = m_data.functions[function];
        return dimension == Dimension::module ? record.module : record.source_file;
    }

    std::uint32_t valueOfSample(Dimension dimension, std::size_t sample) const {
        const std::uint32_t thread = m_data.sample_threads.empty() ? 0 : m_data.sample_threads[sample];
        return dimension == Dimension::thread ? thread : m_data.threads[thread].process;
    }

    std::string text(Dimension dimension, std::uint32_t value) const {
        if (value == 0) return "~";
        switch (dimension) {
        case Dimension::process:
            return m_data.processes[value].name;
        case Dimension::thread:
            return m_data.threads[value].name;
        case Dimension::module:
            return m_data.modules[value];
        case Dimension::source_file:
            return m_data.source_files[value];
        case Dimension::function:
            break;
        }
        return m_data.names[m_data.functions[value].name];
    }

    std::map<std::uint32_t, Row> childrenOf(const Row& row, Segment segment) const {
        std::map<std::uint32_t, Row> children;
        const Dimension dimension = engine::dimensionOf(segment);
        for (const auto& [sample, places] : row.places) {
            const auto& stack = m_stacks[sample];
            const auto put = [&, s = sample](std::uint32_t value, Place place) {
                children[value].has_frames = true;
                children[value].places[s].insert(place);
            };
            if (engine::isSampleLevel(dimension)) {
                Row& child = children[valueOfSample(dimension, sample)];
                child.has_frames = row.has_frames;
                child.places[sample] = places;
            } else if (!row.has_frames && segment == Segment::callees) {
                put(stack[0], {0, 0});
            } else if (!row.has_frames) {
                for (std::size_t i = m_from_leaf ? stack.size() - 1 : 0; i < stack.size(); ++i)
                    put(valueOfFrame(dimension, stack[i]), {i, i});
            } else {
                for (const auto& [frame, cursor] : places) {
                    if (segment == Segment::callees) {
                        if (frame + 1 < stack.size()) put(stack[frame + 1], {frame + 1, frame + 1});
                    } else if (segment == Segment::callers) {
                        if (cursor > 0) put(stack[cursor - 1], {frame, cursor - 1});
                    } else
                        put(valueOfFrame(dimension, stack[frame]), {frame, cursor});
                }
            }
        }
        return children;
    }

    std::int64_t weight(std::size_t metric, const Row& row, bool is_self) const {
        std::int64_t sum = 0;
        for (const auto& [sample, places] : row.places) {
            const std::size_t leaf = m_stacks[sample].size() - 1;
            const bool ends_here = !row.has_frames || std::ranges::any_of(places, [leaf](const Place& place) {
                return place.first == leaf;
            });
            if (!is_self || ends_here) sum += m_data.metrics[metric].integers[sample];
        }
        return sum;
    }

    void printChildren(const Row& row, std::size_t level, int indent, int depth, std::string& result) const {
        if (indent >= depth || level >= m_path.size()) return;
        const Segment segment = m_path[level];
        const Dimension dimension = engine::dimensionOf(segment);
        const auto children = childrenOf(row, segment);
        std::vector<std::uint32_t> order;
        for (const auto& [value, child] : children)
            order.push_back(value);
        const auto sort_text = [&](std::uint32_t value) { return value == 0 ? "" : text(dimension, value); };
        std::ranges::sort(order, [&](std::uint32_t a, std::uint32_t b) {
            const auto weight_a = weight(0, children.at(a), !m_shows_totals);
            const auto weight_b = weight(0, children.at(b), !m_shows_totals);
            if (weight_a != weight_b) return weight_a > weight_b;
            return sort_text(a) != sort_text(b) ? sort_text(a) < sort_text(b) : a < b;
        });
        for (const std::uint32_t value : order) {
            const Row& child = children.at(value);
            result.append(2 * static_cast<std::size_t>(indent), ' ');
            result += text(dimension, value);
            for (std::size_t metric = 0; metric < m_data.metrics.size(); ++metric) {
                if (m_shows_totals) result += " " + std::to_string(weight(metric, child, false));
                result += " " + std::to_string(weight(metric, child, true));
            }
            result += '\n';
            printChildren(child, engine::isRecursive(segment) ? level : level + 1, indent + 1, depth, result);
        }
    }

    const engine::ProfileData& m_data;
    engine::GroupingPath m_path;
    bool m_from_leaf;
    bool m_shows_totals;
    std::vector<std::vector<engine::FunctionIndex>> m_stacks;
    std::vector<std::size_t> m_selected;
};

} // namespace panedeck::tests
