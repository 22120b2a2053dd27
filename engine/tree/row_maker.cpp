#include "tree/row_maker.h"

#include <algorithm>
#include <cstring>

namespace panedeck::engine {

namespace {

// Nodes between two looks at the progress object: some milliseconds.
constexpr std::size_t nodes_between_polls = 1 << 16;
constexpr std::size_t most_rows = std::size_t{1} << 28;

} // namespace

bk2::error_code_t RowMaker::makeTopRows(RowRange& range) {
    range = {};
    if (m_request.focus_is_nothing) return {};
    return make(topOrigin(), 0, range);
}

bk2::error_code_t RowMaker::makeChildren(RowIndex parent, RowRange& range) {
    const std::size_t level = m_tree.levelOf(parent);
    const bool recurs = isRecursive(m_request.path[level]);
    if (recurs ? m_request.no_leaf_expansion : level + 1 == m_request.path.size()) {
        range = {};
        return {};
    }
    return make(originOf(parent), recurs ? level : level + 1, range);
}

RowMaker::Origin RowMaker::topOrigin() const {
    Origin origin;
    origin.starts_recursion = true;
    if (!m_request.focus) return origin;
    const auto nodes =
        m_store.nodesBy(m_request.focus->dimension, m_request.scope).of(m_request.focus->value);
    origin.all_nodes = false;
    origin.nodes.assign(nodes.begin(), nodes.end());
    // Rows of a sample level, if there is one on top, find them there.
    m_tree.m_nodes = origin.nodes;
    return origin;
}

bool RowMaker::isOnSampleLevels(RowIndex row) const {
    const auto end = m_request.path.begin() + static_cast<std::ptrdiff_t>(m_tree.levelOf(row)) + 1;
    return std::all_of(m_request.path.begin(), end,
                       [](Segment segment) { return isSampleLevel(dimensionOf(segment)); });
}

RowMaker::Origin RowMaker::originOf(RowIndex row) const {
    const RowTree::Record& record = *m_tree.m_rows[row];
    Origin origin;
    origin.row = row;
    origin.slice = m_tree.sliceOf(row);
    origin.all_nodes = record.node_count == RowTree::all_nodes;
    origin.starts_recursion = isOnSampleLevels(row);
    if (origin.all_nodes) return origin;
    if (record.node_count == RowTree::of_level) {
        while (isSampleLevel(dimensionOf(m_tree.segmentOf(row))))
            row = m_tree.parentOf(row);
        const Dimension dimension = dimensionOf(m_tree.segmentOf(row));
        const auto nodes = m_store.nodesBy(dimension, m_request.scope).of(m_tree.valueOf(row));
        origin.nodes.assign(nodes.begin(), nodes.end());
        return origin;
    }
    const auto first = m_tree.m_nodes.begin() + record.first_node;
    origin.nodes.assign(first, first + record.node_count);
    origin.sorts_in_place = m_tree.segmentOf(row) == Segment::callers;
    origin.first_in_pool = record.first_node;
    return origin;
}

bk2::error_code_t RowMaker::make(Origin origin, std::size_t level, RowRange& range) {
    const Segment segment = m_request.path[level];
    if (auto error = makeCandidates(origin, segment); error.failed()) return error;
    if (m_tree.m_rows.size() + m_candidates.size() > most_rows)
        return bk2::error_code_t::failure("The table has too many rows");
    sortCandidates(segment);
    range = append(origin, level);
    return {};
}

bk2::error_code_t RowMaker::makeCandidates(const Origin& origin, Segment segment) {
    const Dimension dimension = dimensionOf(segment);
    if (isSampleLevel(dimension)) return cutBySample(origin, dimension);
    // Callers of everything start with the leaves' functions, or with all functions.
    if (origin.all_nodes && segment != Segment::callees) return cutAllByFrame(origin, dimension);
    if (origin.starts_recursion && isRecursive(segment) && !origin.all_nodes)
        return cutNodes(origin, starters(origin), segment == Segment::callers);
    if (segment == Segment::callees) return cutNodes(origin, calleesOf(origin), false);
    if (segment == Segment::callers) return cutNodes(origin, callersOf(origin), true);
    return cutNodes(origin, keyedByFrame(origin, dimension), false);
}

Weight* RowMaker::newCells() {
    m_cells.resize(m_cells.size() + m_tree.cellsPerRow(), zeroWeight());
    return m_cells.data() + m_cells.size() - m_tree.cellsPerRow();
}

std::pair<std::uint32_t, std::uint32_t> RowMaker::nodesForParts(const Origin& origin) const {
    if (origin.row != no_row) {
        const RowTree::Record& row = *m_tree.m_rows[origin.row];
        return {row.first_node, row.node_count};
    }
    return {0, origin.all_nodes ? RowTree::all_nodes : static_cast<std::uint32_t>(origin.nodes.size())};
}

bk2::error_code_t RowMaker::cutBySample(const Origin& origin, Dimension dimension) {
    const std::vector<SliceTable::Part>* parts = nullptr;
    if (auto error = m_tree.m_slices.partsOf(origin.slice, dimension, m_progress, parts); error.failed())
        return error;
    const auto [first_node, node_count] = nodesForParts(origin);
    for (const SliceTable::Part& part : *parts) {
        const std::size_t cells = m_cells.size();
        Weight* weights = newCells();
        bool has_samples = true;
        if (origin.all_nodes)
            for (std::size_t metric = 0; metric < m_request.metrics.size(); ++metric)
                weights[2 * metric] = weights[2 * metric + 1] = part.group->sums[metric];
        else {
            const WeightSet* set = nullptr;
            if (auto error = m_tree.m_slices.weightsOf(part.slice, m_progress, set); error.failed())
                return error;
            has_samples = addUpNodes(*set, origin.nodes, weights);
        }
        if (!has_samples) {
            m_cells.resize(cells);
            continue;
        }
        if (auto error = addUpExpansions(part.slice, origin.nodes, origin.all_nodes, weights); error.failed())
            return error;
        m_candidates.push_back({part.value, part.value, part.slice, first_node, node_count, cells});
    }
    addMissingValues(origin, dimension);
    return {};
}

void RowMaker::addMissingValues(const Origin& origin, Dimension dimension) {
    if (!m_request.all_rows || origin.row != no_row || !origin.all_nodes) return;
    std::vector<bool> present(m_store.valueCount(dimension));
    present[0] = true;
    for (const Candidate& candidate : m_candidates)
        present[candidate.value] = true;
    for (DimensionValue value = 1; value < present.size(); ++value) {
        if (present[value]) continue;
        const std::size_t cells = m_cells.size();
        newCells();
        m_candidates.push_back({value, value, origin.slice, 0, 0, cells});
    }
}

void RowMaker::addUpByValue(const WeightSet& weights, std::size_t metric, std::size_t first_cell,
                            Dimension dimension) {
    const MetricWeights& column = weights.metric(metric);
    const bool is_leaf_scope = m_request.scope == FrameScope::leaf;
    const std::size_t width = m_tree.cellsPerRow();
    // Where the value's last outermost node ends: what stands before is a recursion.
    std::vector<CallsiteIndex> ends(m_store.valueCount(dimension), 0);
    const auto add_up = [&]<class Number>(const std::vector<Number>& self, Number Weight::*number) {
        const auto& total = std::get<std::vector<Number>>(column.total);
        for (std::size_t position = 0; position < self.size(); ++position) {
            if (total[position] == 0) continue;
            const CallsiteIndex node = nodeAt(weights, position);
            const DimensionValue value = m_store.valueOfNode(dimension, node);
            Weight* sums = m_cells.data() + value * width + first_cell;
            sums[1].*number += self[position];
            if (is_leaf_scope)
                sums[0].*number += self[position];
            else if (node >= ends[value]) {
                sums[0].*number += total[position];
                ends[value] = m_store.endOf(node);
            }
        }
    };
    if (const auto* integers = std::get_if<std::vector<std::int64_t>>(&column.self))
        add_up(*integers, &Weight::integer);
    else
        add_up(std::get<std::vector<double>>(column.self), &Weight::decimal);
}

CallsiteIndex RowMaker::nodeAt(const WeightSet& weights, std::size_t position) {
    return weights.isSparse() ? weights.nodes()[position] : static_cast<CallsiteIndex>(position);
}

std::vector<std::uint8_t> RowMaker::valuesWithSamples(const WeightSet& weights, Dimension dimension) const {
    std::vector<std::uint8_t> found(m_store.valueCount(dimension));
    if (weights.metric(0).weightless.empty()) {
        // Every sample weighs something: what was added up tells, and there are fewer values than nodes.
        for (std::size_t value = 0; value < found.size(); ++value)
            found[value] = !isZero(m_cells[value * m_tree.cellsPerRow()], m_tree.isIntegerMetric(0));
        return found;
    }
    const std::size_t count = weights.isSparse() ? weights.nodes().size() : m_store.nodeCount();
    for (std::size_t position = 0; position < count; ++position) {
        std::uint8_t& is_found = found[m_store.valueOfNode(dimension, nodeAt(weights, position))];
        if (!is_found) is_found = weights.hasSamples(position, m_request.scope);
    }
    return found;
}

bk2::error_code_t RowMaker::cutAllByFrame(const Origin& origin, Dimension dimension) {
    const WeightSet* weights = nullptr;
    if (auto error = m_tree.m_slices.weightsOf(origin.slice, m_progress, weights); error.failed())
        return error;
    const std::size_t width = m_tree.cellsPerRow();
    m_cells.resize(m_store.valueCount(dimension) * width, zeroWeight());
    for (std::size_t metric = 0; metric < m_request.metrics.size(); ++metric) {
        addUpByValue(*weights, metric, RowTree::cellOf(metric, WeightKind::total), dimension);
        if (auto error = poll(); error.failed()) return error;
    }
    if (auto error = addUpExpansionsByValue(origin.slice, dimension); error.failed()) return error;
    const auto has_samples = valuesWithSamples(*weights, dimension);
    for (DimensionValue value = 0; value < has_samples.size(); ++value)
        if (has_samples[value])
            m_candidates.push_back({value, value, origin.slice, 0, RowTree::of_level, value * width});
    addMissingValues(origin, dimension);
    return {};
}

bk2::error_code_t RowMaker::addUpExpansionsByValue(SliceIndex slice, Dimension dimension) {
    for (std::size_t i = 0; i < m_request.expansions.size(); ++i) {
        const MetricExpansion& expansion = m_request.expansions[i];
        const std::vector<SliceTable::Part>* parts = nullptr;
        const auto error = m_tree.m_slices.partsOf(slice, expansion.dimension, m_progress, parts);
        if (error.failed()) return error;
        for (const SliceTable::Part& part : *parts) {
            const WeightSet* weights = nullptr;
            const auto failure = m_tree.m_slices.weightsOf(part.slice, m_progress, weights);
            if (failure.failed()) return failure;
            addUpByValue(*weights, expansion.metric, firstCellOf(i, part.value), dimension);
        }
    }
    return {};
}

std::size_t RowMaker::firstCellOf(std::size_t expansion, DimensionValue value) const {
    const auto& columns = *m_tree.m_expansions[expansion].parts;
    const auto column = std::ranges::lower_bound(columns, value, {}, &SliceTable::Part::value);
    return m_tree.cellOfExpansion(expansion, static_cast<std::size_t>(column - columns.begin()),
                                  WeightKind::total);
}

std::vector<RowMaker::KeyedNode> RowMaker::keyedByFrame(const Origin& origin, Dimension dimension) const {
    std::vector<KeyedNode> keyed;
    keyed.reserve(origin.nodes.size());
    for (const CallsiteIndex node : origin.nodes)
        keyed.push_back({m_store.valueOfNode(dimension, node), node, node});
    return keyed;
}

std::vector<RowMaker::KeyedNode> RowMaker::starters(const Origin& origin) const {
    return keyedByFrame(origin, Dimension::function);
}

std::vector<RowMaker::KeyedNode> RowMaker::calleesOf(const Origin& origin) const {
    std::vector<KeyedNode> keyed;
    const auto add_children = [&](CallsiteIndex first, CallsiteIndex end) {
        for (CallsiteIndex child = first; child < end; child = m_store.endOf(child))
            keyed.push_back({m_store.functionOf(child), child, child});
    };
    if (origin.all_nodes) {
        keyed.push_back({0, 0, 0});
        add_children(1, m_store.nodeCount());
    }
    for (const CallsiteIndex node : origin.nodes)
        add_children(node + 1, m_store.endOf(node));
    return keyed;
}

std::vector<RowMaker::KeyedNode> RowMaker::callersOf(const Origin& origin) const {
    std::vector<KeyedNode> keyed;
    keyed.reserve(origin.nodes.size());
    for (std::size_t i = 0; i < origin.nodes.size(); ++i) {
        const CallsiteIndex node = origin.nodes[i];
        const CallsiteIndex cursor =
            origin.sorts_in_place ? m_tree.m_cursors[origin.first_in_pool + i] : node;
        const CallsiteIndex caller = m_store.parentOf(cursor);
        if (caller != 0) keyed.push_back({m_store.functionOf(caller), node, caller});
    }
    return keyed;
}

bk2::error_code_t RowMaker::cutNodes(const Origin& origin, std::vector<KeyedNode> keyed, bool has_cursors) {
    const WeightSet* weights = nullptr;
    if (auto error = m_tree.m_slices.weightsOf(origin.slice, m_progress, weights); error.failed())
        return error;
    std::ranges::sort(keyed, [](const KeyedNode& a, const KeyedNode& b) {
        return a.value != b.value ? a.value < b.value : a.node < b.node;
    });
    std::vector<CallsiteIndex> nodes(keyed.size());
    std::ranges::transform(keyed, nodes.begin(), &KeyedNode::node);
    // A run of callers is sorted into the place where its row has it; what ended at a root is left behind it.
    const bool in_place = has_cursors && origin.sorts_in_place;
    const std::size_t pool = in_place ? origin.first_in_pool : m_tree.m_nodes.size();
    std::size_t polled = 0;
    for (std::size_t first = 0, end = 0; first < keyed.size(); first = end) {
        while (end < keyed.size() && keyed[end].value == keyed[first].value)
            ++end;
        const auto run = std::span(nodes).subspan(first, end - first);
        const std::size_t cells = m_cells.size();
        if (!addUpNodes(*weights, run, newCells())) {
            m_cells.resize(cells);
            continue;
        }
        if (auto error = addUpExpansions(origin.slice, run, false, m_cells.data() + cells); error.failed())
            return error;
        m_candidates.push_back({keyed[first].value, run.front(), origin.slice,
                                static_cast<std::uint32_t>(pool + first),
                                static_cast<std::uint32_t>(run.size()), cells});
        if (end - polled < nodes_between_polls) continue;
        polled = end;
        if (auto error = poll(); error.failed()) return error;
    }
    if (auto error = poll(); error.failed()) return error;
    // Only now, so that a cancel leaves the tree as it was.
    keepNodes(keyed, pool, has_cursors);
    return {};
}

void RowMaker::keepNodes(const std::vector<KeyedNode>& keyed, std::size_t pool, bool has_cursors) {
    if (m_tree.m_nodes.size() < pool + keyed.size()) m_tree.m_nodes.resize(pool + keyed.size());
    if (has_cursors) m_tree.m_cursors.resize(m_tree.m_nodes.size());
    for (std::size_t i = 0; i < keyed.size(); ++i) {
        m_tree.m_nodes[pool + i] = keyed[i].node;
        if (has_cursors) m_tree.m_cursors[pool + i] = keyed[i].cursor;
    }
}

bool RowMaker::addUpNodes(const WeightSet& weights, std::span<const CallsiteIndex> nodes,
                          Weight* cells) const {
    const FrameScope scope = m_request.scope;
    bool has_samples = false;
    CallsiteIndex end = 0;
    for (const CallsiteIndex node : nodes) {
        const std::size_t position = weights.positionOf(node);
        if (position == WeightSet::npos || !weights.hasSamples(position, FrameScope::any_frame)) continue;
        const bool is_outermost = node >= end;
        if (is_outermost) end = m_store.endOf(node);
        has_samples = has_samples || weights.hasSamples(position, scope);
        for (std::size_t metric = 0; metric < m_request.metrics.size(); ++metric) {
            const bool is_integer = m_tree.isIntegerMetric(metric);
            const MetricWeights& column = weights.metric(metric);
            const Weight self = weightAt(column.self, position);
            add(cells[2 * metric + 1], self, is_integer);
            if (scope == FrameScope::leaf)
                add(cells[2 * metric], self, is_integer);
            else if (is_outermost)
                add(cells[2 * metric], weightAt(column.total, position), is_integer);
        }
    }
    return has_samples;
}

bk2::error_code_t RowMaker::addUpExpansions(SliceIndex slice, std::span<const CallsiteIndex> nodes,
                                            bool all_nodes, Weight* cells) {
    for (std::size_t i = 0; i < m_request.expansions.size(); ++i) {
        const MetricExpansion& expansion = m_request.expansions[i];
        const std::vector<SliceTable::Part>* parts = nullptr;
        const auto error = m_tree.m_slices.partsOf(slice, expansion.dimension, m_progress, parts);
        if (error.failed()) return error;
        std::vector<Weight> sums(2 * m_request.metrics.size());
        for (const SliceTable::Part& part : *parts) {
            Weight* pair = cells + firstCellOf(i, part.value);
            if (all_nodes) {
                pair[0] = pair[1] = part.group->sums[expansion.metric];
                continue;
            }
            const WeightSet* weights = nullptr;
            const auto failure = m_tree.m_slices.weightsOf(part.slice, m_progress, weights);
            if (failure.failed()) return failure;
            std::ranges::fill(sums, zeroWeight());
            addUpNodes(*weights, nodes, sums.data());
            std::copy_n(sums.begin() + 2 * static_cast<std::ptrdiff_t>(expansion.metric), 2, pair);
        }
    }
    return {};
}

void RowMaker::sortCandidates(Segment segment) {
    const RowOrder& order = m_request.order;
    const TextTable& texts = m_store.texts(dimensionOf(segment));
    const bool is_integer = m_tree.isIntegerMetric(order.metric);
    const std::size_t cell = 2 * order.metric + (order.kind == WeightKind::self);
    const auto text_before = [&](const Candidate& a, const Candidate& b) {
        const int result = texts.text(a.value).text().compare(texts.text(b.value).text());
        return result != 0 ? result < 0 : a.value < b.value;
    };
    if (order.fact) return sortByFact(segment);
    if (order.by_text) {
        // Sorted by rank: comparing a million texts again and again takes longer than ranking them once.
        const std::vector<std::uint32_t>* ranks = m_candidates.size() > 1000 ? &texts.ranks() : nullptr;
        std::ranges::sort(m_candidates, [&](const Candidate& a, const Candidate& b) {
            if (!ranks) return text_before(a, b);
            const std::uint32_t rank_a = (*ranks)[a.value], rank_b = (*ranks)[b.value];
            return rank_a != rank_b ? rank_a < rank_b : a.value < b.value;
        });
        return;
    }
    std::ranges::sort(m_candidates, [&](const Candidate& a, const Candidate& b) {
        const int result = compare(m_cells[b.cells + cell], m_cells[a.cells + cell], is_integer);
        return result != 0 ? result < 0 : text_before(a, b);
    });
}

void RowMaker::sortByFact(Segment segment) {
    const TextTable& texts = m_store.texts(dimensionOf(segment));
    std::vector<std::pair<std::string, Candidate>> keyed;
    for (const Candidate& candidate : m_candidates)
        keyed.emplace_back(m_tree.factOf(segment, candidate.value, *m_request.order.fact).text(), candidate);
    std::ranges::sort(keyed, [&texts](const auto& a, const auto& b) {
        if (a.first != b.first) return a.first < b.first;
        const int result = texts.text(a.second.value).text().compare(texts.text(b.second.value).text());
        return result != 0 ? result < 0 : a.second.value < b.second.value;
    });
    for (std::size_t i = 0; i < keyed.size(); ++i)
        m_candidates[i] = keyed[i].second;
}

bool RowMaker::isKnownLeaf(const Candidate& candidate, std::size_t level) const {
    const Segment segment = m_request.path[level];
    if (!isRecursive(segment)) return level + 1 == m_request.path.size();
    if (m_request.no_leaf_expansion) return true;
    if (candidate.node_count != 1) return false;
    if (segment == Segment::callers) return m_store.parentOf(m_tree.m_cursors[candidate.first_node]) == 0;
    return m_store.endOf(m_tree.m_nodes[candidate.first_node]) == m_tree.m_nodes[candidate.first_node] + 1;
}

RowRange RowMaker::append(const Origin& origin, std::size_t level) {
    const RowRange range{m_tree.m_rows.size(), static_cast<std::uint32_t>(m_candidates.size())};
    m_tree.m_rows.append(range.count);
    m_tree.m_cells.append(range.count);
    if (m_tree.m_has_objects) m_tree.m_objects.append(range.count);
    if (m_tree.m_has_slices) m_tree.m_row_slices.append(range.count);
    for (std::uint32_t i = 0; i < range.count; ++i) {
        const Candidate& candidate = m_candidates[i];
        auto* record = new (m_tree.m_rows[range.first + i]) RowTree::Record;
        record->parent = origin.row;
        record->value = candidate.value;
        record->first_node = candidate.first_node;
        record->node_count = candidate.node_count;
        record->level = static_cast<std::uint32_t>(level);
        record->first_child = 0;
        const bool is_leaf = isKnownLeaf(candidate, level);
        record->child_count.store(is_leaf ? 0 : RowTree::not_made, std::memory_order_relaxed);
        if (m_tree.m_has_objects) *m_tree.m_objects[range.first + i] = candidate.object;
        if (m_tree.m_has_slices) *m_tree.m_row_slices[range.first + i] = candidate.slice;
        std::memcpy(m_tree.m_cells[range.first + i], m_cells.data() + candidate.cells,
                    m_tree.cellsPerRow() * sizeof(Weight));
    }
    return range;
}

} // namespace panedeck::engine
