#pragma once

#include "tree/row_tree.h"

#include <vector>

namespace panedeck::engine {

/// Makes the rows of one level below one row: sorts the row's samples and nodes out, adds up, orders,
/// appends. One object for one call, with the tree's `m_making` held.
class RowMaker {
public:
    RowMaker(const RowTree& tree, notifykit2::IProgress* progress)
        : m_tree(tree), m_request(tree.m_request), m_store(*tree.m_request.store), m_progress(progress) {}

    bk2::error_code_t makeTopRows(RowRange& range);
    bk2::error_code_t makeChildren(RowIndex parent, RowRange& range);

private:
    /// What a level starts from.
    struct Origin {
        RowIndex row = no_row;
        SliceIndex slice = 0;
        bool all_nodes = true;
        std::vector<CallsiteIndex> nodes;
        /// For callers: where the nodes and cursors stand in the pool, if they are the row's own there.
        bool sorts_in_place = false;
        std::uint32_t first_in_pool = 0;
        /// The first level of a recursion shows the nodes themselves.
        bool starts_recursion = false;
    };

    /// A row to be.
    struct Candidate {
        DimensionValue value;
        std::uint32_t object;
        SliceIndex slice;
        std::uint32_t first_node;
        std::uint32_t node_count;
        std::size_t cells; ///< where its numbers start in m_cells
    };

    /// A node under the value that it is sorted by; for callers with its cursor.
    struct KeyedNode {
        DimensionValue value;
        CallsiteIndex node;
        CallsiteIndex cursor;
    };

    Origin originOf(RowIndex row) const;
    /// No frame level so far.
    bool isOnSampleLevels(RowIndex row) const;
    /// Rows of a sample level stand for the nodes of the row above them.
    std::pair<std::uint32_t, std::uint32_t> nodesForParts(const Origin& origin) const;
    Origin topOrigin() const;
    bk2::error_code_t make(Origin origin, std::size_t level, RowRange& range);
    bk2::error_code_t makeCandidates(const Origin& origin, Segment segment);

    bk2::error_code_t cutBySample(const Origin& origin, Dimension dimension);
    bk2::error_code_t cutAllByFrame(const Origin& origin, Dimension dimension);
    bk2::error_code_t cutNodes(const Origin& origin, std::vector<KeyedNode> keyed, bool has_cursors);
    void keepNodes(const std::vector<KeyedNode>& keyed, std::size_t pool, bool has_cursors);
    std::vector<KeyedNode> keyedByFrame(const Origin& origin, Dimension dimension) const;
    std::vector<KeyedNode> calleesOf(const Origin& origin) const;
    std::vector<KeyedNode> callersOf(const Origin& origin) const;
    std::vector<KeyedNode> starters(const Origin& origin) const;
    void addMissingValues(const Origin& origin, Dimension dimension);

    bool addUpNodes(const WeightSet& weights, std::span<const CallsiteIndex> nodes, Weight* cells) const;
    /// Adds a metric up by the values of a frame dimension, into two cells from `first_cell` of each value's.
    void addUpByValue(const WeightSet& weights, std::size_t metric, std::size_t first_cell,
                      Dimension dimension);
    static CallsiteIndex nodeAt(const WeightSet& weights, std::size_t position);
    /// Which values have samples, of whatever weight. The first metric was added up before.
    std::vector<std::uint8_t> valuesWithSamples(const WeightSet& weights, Dimension dimension) const;
    bk2::error_code_t addUpExpansionsByValue(SliceIndex slice, Dimension dimension);
    /// Where in a row's numbers the total of an expansion's value stands.
    std::size_t firstCellOf(std::size_t expansion, DimensionValue value) const;
    bk2::error_code_t addUpExpansions(SliceIndex slice, std::span<const CallsiteIndex> nodes, bool all_nodes,
                                      Weight* cells);
    void sortCandidates(Segment segment);
    void sortByFact(Segment segment);
    RowRange append(const Origin& origin, std::size_t level);
    bool isKnownLeaf(const Candidate& candidate, std::size_t level) const;
    Weight* newCells();
    bk2::error_code_t poll() const {
        return notifykit2::is_canceled(m_progress) ? bk2::error_code_t::canceled() : bk2::error_code_t();
    }

    const RowTree& m_tree;
    const RowTreeRequest& m_request;
    const ProfileStore& m_store;
    notifykit2::IProgress* m_progress;
    std::vector<Candidate> m_candidates;
    std::vector<Weight> m_cells;
};

} // namespace panedeck::engine
