#pragma once

#include "basekit/assertion.h"
#include "basekit/large_pages.h"
#include "gridmodel/index_translator.h"
#include "gridmodel/row_state.h"
#include "notifykit/progress.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace panedeck {

/// The visible rows of a tree as one flat vector in preorder, so that a row index, the number of rows and a
/// window of rows are plain vector operations.
///
/// Invariant: row 0 is at level 0, and a row is at most one level below the row before it; a row that has
/// deeper rows behind it is in state `RowExpanded`.
///
/// Knows rows, states, levels and their order; nothing of the objects behind them, which a derived class
/// names by `RowID`. `Interface` is the abstract class that the model implements. Costs: opening and closing
/// a row moves the rows behind it once, whatever its subtree holds; sorting compares siblings only. Nothing
/// recurses by the depth of the tree. Nothing locks: the owner's lock covers it all.
template <class RowID, class Interface>
class BaseHierarchicalModel : public Interface {
public:
    using Record = RowRecord<RowID>;
    using Rows = bk2::array_t<Record>;
    using Sortable = sortable_item_t<RowID>;
    using Siblings = bk2::array_t<Sortable>;

    /// The row's state; `RowLeaf` for an index out of range.
    RowState getRowState(int row) const override { return isRowValid(row) ? m_rows[at(row)].state : RowLeaf; }

    /// Called after every structural change, while `getIndexTranslator` tells where rows went.
    virtual void onRowsChanged() {}

    /// The row's level; 0 for an index out of range.
    virtual int getRowLevel(int row) const { return isRowValid(row) ? m_rows[at(row)].level : 0; }

    /// Opens or closes a row; an invalid row does nothing. Opening also restores what was open below. On
    /// cancel the rows made so far are in place and `onRowsChanged` is not called.
    virtual ExpandedRows onExpandRow(int row, bool expand, notifykit2::IProgress* progress) {
        if (!isRowValid(row)) return {};
        return expand ? open(row, progress) : close(row);
    }

    /// Drops all rows.
    virtual void clear() { m_rows.clear(); }

    /// Set only while `onRowsChanged` runs.
    virtual const IIndexTranslator* getIndexTranslator() const { return m_active_translator; }

    virtual bool isSortingEnabled() const { return false; }

    /// The order of two siblings: a strict weak order.
    virtual bool compareRows(const Sortable&, const Sortable&) const { return false; }

    bool isRowValid(int row) const { return row >= 0 && at(row) < m_rows.size(); }
    int rowCount() const { return static_cast<int>(m_rows.size()); }

    void setRowState(int row, RowState state) {
        PANEDECK_EXPECT(isRowValid(row), "isRowValid(row)");
        if (isRowValid(row)) m_rows[at(row)].state = state;
    }

    /// What stands behind a visible row; an empty id for an invalid one.
    RowID getRowID(int row) const {
        PANEDECK_EXPECT(isRowValid(row), "BaseModel::isRowValid(row)");
        return isRowValid(row) ? m_rows[at(row)].id : RowID{};
    }

    /// How many rows directly behind this one are deeper; 0 for an invalid row. Cost: those rows.
    int calcSubItems(int row) const {
        if (!isRowValid(row)) return 0;
        int behind = row + 1;
        while (isRowValid(behind) && m_rows[at(behind)].level > m_rows[at(row)].level)
            ++behind;
        return behind - row - 1;
    }

    /// Sorts the visible rows [first, last), siblings only: a child stays under its parent. A row above the
    /// level of the first one ends the range. For all rows the index translator is active afterwards: call
    /// `onRowsChanged` and then `resetTranslators`.
    void sortRows(int first, int last) {
        if (!isRowValid(first) || last < 0 || last > rowCount()) return;
        const bool sortsAll = first == 0 && last == rowCount();
        const auto isAbove = [level = getRowLevel(first)](const Record& row) { return row.level < level; };
        if (last > first)
            last = static_cast<int>(std::find_if(m_rows.begin() + first, m_rows.begin() + last, isAbove) -
                                    m_rows.begin());
        bk2::array_t<int> origins;
        if (last - first >= 2) sortForest(first, last, origins);
        if (sortsAll) startVectorTranslator(origins);
    }

    /// Sorts all visible rows and tells of it, even if there is none.
    void sortAllRows() {
        bk2::array_t<int> origins;
        if (rowCount() >= 2) sortForest(0, rowCount(), origins);
        startVectorTranslator(origins);
        onRowsChanged();
        resetTranslators();
    }

    /// Ends a structural change.
    void resetTranslators() {
        m_add_remove_translator.set(0, 0);
        m_vector_translator.mapping().clear();
        m_follow_translator.set(-1, -1);
        m_active_translator = nullptr;
    }

    /// Checks the invariant of the visible rows; what is wrong comes back as a text, empty if nothing is.
    std::string verifyRows() const {
        for (std::size_t i = 0; i < m_rows.size(); ++i) {
            const int above = i == 0 ? -1 : m_rows[i - 1].level;
            const std::string place = "row " + std::to_string(i);
            if (m_rows[i].level < 0 || m_rows[i].level > above + 1) return place + " skips a level";
            if (i > 0 && m_rows[i].level > above && m_rows[i - 1].state != RowExpanded)
                return place + " stands under a row that is not open";
            if (m_rows[i].id == RowID{}) return place + " has no id";
        }
        return {};
    }

protected:
    /// Appends the children of a row to `children`, in the provider's order and with the states that they are
    /// to show, loading them if that was never done. Gives their number: 0 for none and on cancel, -1 if they
    /// could not be read.
    virtual int addSubRows(const RowID& parent, Siblings& children, notifykit2::IProgress* progress) = 0;

    /// Orders one group of siblings by `compareRows`.
    virtual void sortSiblings(Siblings& siblings) const {
        std::sort(siblings.begin(), siblings.end(),
                  [this](const Sortable& a, const Sortable& b) { return compareRows(a, b); });
    }

    /// The state of a row whose children were asked for and do not show.
    virtual RowState stateWithoutSubRows(const RowID& row) const = 0;

    /// Appends the visible rows below `parent` to `rows`, beside the model's own vector, so that they go in
    /// with one move. False if it was cancelled: that ends the loading, but of what is loaded all rows are
    /// made, for a row that is open must show all its children. A row without any is open no longer.
    bool collectSubRows(Record& parent, Rows& rows, notifykit2::IProgress* progress) {
        Groups open;
        openGroup(parent, open, progress);
        while (!open.empty()) {
            Group& group = open.back();
            if (group.next == group.siblings.size()) {
                open.pop();
                continue;
            }
            const Sortable& child = group.siblings[group.next++];
            Record record{child.state, group.level, child.id};
            if (record.state == RowExpanded) openGroup(record, open, progress);
            rows.push_back(record);
        }
        return !notifykit2::is_canceled(progress);
    }

    /// Puts `rows` in place of all visible rows; the row at `followed` (-1: none) is now at `to`.
    void replaceRows(Rows rows, int followed, int to) {
        setRows(std::move(rows));
        m_follow_translator.set(followed, to);
        announce(m_follow_translator);
    }

    /// Puts `rows` in place of all visible rows and tells nobody.
    void setRows(Rows rows) {
        m_rows = std::move(rows);
        trim();
    }

    /// Closes all rows: one pass. The top rows stay in their order; `closed` is called with the id of each
    /// row that was open. The row at `followed` (-1: none) is followed to its top row.
    template <class Closed>
    void closeAllRows(int followed, const Closed& closed) {
        std::size_t kept = 0;
        int to = followed;
        for (std::size_t row = 0; row < m_rows.size(); ++row) {
            Record record = m_rows[row];
            if (record.state == RowExpanded) {
                closed(record.id);
                record.state = RowCollapsed;
            }
            if (record.level == 0) m_rows[kept++] = record;
            if (static_cast<int>(row) == followed) to = static_cast<int>(kept) - 1;
        }
        m_rows.resize(kept);
        trim();
        m_follow_translator.set(followed, to);
        announce(m_follow_translator);
    }

    const Rows& rows() const { return m_rows; }

private:
    /// Siblings that are being walked.
    struct Group {
        Siblings siblings;
        std::size_t next = 0;
        int level = 0;
    };

    /// The groups on the way down to a row. What was popped serves the next one with its memory.
    class Groups {
    public:
        bool empty() const { return m_depth == 0; }
        Group& back() { return m_groups[m_depth - 1]; }
        Group& push(int level) {
            if (m_depth == m_groups.size()) m_groups.emplace_back();
            Group& group = m_groups[m_depth++];
            group.siblings.clear();
            group.next = 0;
            group.level = level;
            return group;
        }
        void pop() { --m_depth; }

    private:
        std::vector<Group> m_groups;
        std::size_t m_depth = 0;
    };

    static std::size_t at(int row) { return static_cast<std::size_t>(row); }

    /// A vector that grew has up to twice the room that it needs: for a million rows, many megabytes.
    void trim() {
        if (m_rows.capacity() - m_rows.size() > m_rows.size() / 8) m_rows.shrink_to_fit();
    }

    void openGroup(Record& parent, Groups& open, notifykit2::IProgress* progress) {
        Group& group = open.push(parent.level + 1);
        const int count = addSubRows(parent.id, group.siblings, progress);
        PANEDECK_EXPECT(count >= 0, "count >= 0");
        if (count <= 0) {
            open.pop();
            parent.state = stateWithoutSubRows(parent.id);
            return;
        }
        if (isSortingEnabled() && group.siblings.size() >= 2) sortSiblings(group.siblings);
    }

    ExpandedRows open(int row, notifykit2::IProgress* progress) {
        if (m_rows[at(row)].state == RowExpanded) return {row, 0};
        Record opened = m_rows[at(row)];
        opened.state = RowExpanded;
        Rows added;
        const bool finished = collectSubRows(opened, added, progress);
        m_rows[at(row)].state = opened.state;
        m_rows.insert(m_rows.begin() + row + 1, added.begin(), added.end());
        const int gained = static_cast<int>(added.size());
        if (!finished) return {-1, 0};
        m_add_remove_translator.set(row, gained);
        announce(m_add_remove_translator);
        return {row, gained};
    }

    ExpandedRows close(int row) {
        if (m_rows[at(row)].state == RowCollapsed) return {};
        // A leaf too: the next expansion finds no children and makes it a leaf again.
        m_rows[at(row)].state = RowCollapsed;
        const int count = calcSubItems(row);
        PANEDECK_EXPECT(count >= 0, "count >= 0");
        m_rows.erase(m_rows.begin() + row + 1, m_rows.begin() + row + 1 + count);
        m_add_remove_translator.set(row, -count);
        announce(m_add_remove_translator);
        return {};
    }

    void announce(const IIndexTranslator& translator) {
        m_active_translator = &translator;
        onRowsChanged();
        resetTranslators();
    }

    /// Fills `origins` with the old index of each row of the range in its new order.
    void sortForest(int first, int last, bk2::array_t<int>& origins) {
        const bk2::array_t<int> ends = subtreeEnds(first, last);
        Rows sorted;
        sorted.reserve(at(last - first));
        origins.reserve(at(last - first));
        Groups open;
        openSiblings(first, last, first, ends, open);
        while (!open.empty()) {
            Group& group = open.back();
            if (group.next == group.siblings.size()) {
                open.pop();
                continue;
            }
            const Sortable row = group.siblings[group.next++];
            sorted.push_back({row.state, group.level, row.id});
            origins.push_back(row.index);
            const int end = ends[at(row.index - first)];
            if (end > row.index + 1) openSiblings(row.index + 1, end, first, ends, open);
        }
        std::copy(sorted.begin(), sorted.end(), m_rows.begin() + first);
    }

    /// For each row of the range the index behind the last row of its subtree.
    bk2::array_t<int> subtreeEnds(int first, int last) const {
        bk2::array_t<int> ends(at(last - first), last);
        std::vector<int> parents;
        for (int row = first; row < last; ++row) {
            while (!parents.empty() && m_rows[at(parents.back())].level >= m_rows[at(row)].level) {
                ends[at(parents.back() - first)] = row;
                parents.pop_back();
            }
            parents.push_back(row);
        }
        return ends;
    }

    void openSiblings(int begin, int end, int first, const bk2::array_t<int>& ends, Groups& open) const {
        Group& group = open.push(m_rows[at(begin)].level);
        for (int row = begin; row < end; row = ends[at(row - first)])
            group.siblings.push_back({m_rows[at(row)].id, m_rows[at(row)].state, row});
        if (group.siblings.size() >= 2) sortSiblings(group.siblings);
    }

    void startVectorTranslator(const bk2::array_t<int>& origins) {
        bk2::array_t<int>& mapping = m_vector_translator.mapping();
        mapping.resize(origins.size());
        for (std::size_t position = 0; position < origins.size(); ++position)
            mapping[at(origins[position])] = static_cast<int>(position);
        m_active_translator = &m_vector_translator;
    }

    Rows m_rows;
    const IIndexTranslator* m_active_translator = nullptr;
    AddRemoveTranslator m_add_remove_translator;
    VectorTranslator m_vector_translator;
    FollowTranslator m_follow_translator;
};

} // namespace panedeck
