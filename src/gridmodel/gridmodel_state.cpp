#include "gridmodel/chainrow.h"
#include "gridmodel/gridmodel.h"

#include <boost/container_hash/hash.hpp>
#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <typeinfo>
#include <utility>

namespace panedeck {

namespace {

using RowPtr = GridModel::RowPtr;

/// The provider's rows that a visible row stands for, from the topmost on.
std::span<const RowPtr> providerRows(const RowPtr& row) {
    // The class is final: comparing types is exact, and costs a tenth of a cast where rows are very many.
    const dataface1::ITableRow& shown = *row;
    if (typeid(shown) != typeid(ChainRow)) return {&row, 1};
    return static_cast<const ChainRow&>(shown).chainedRows();
}

RowKeys& keysOfLevel(GridRowState& state, int level) {
    const auto index = static_cast<std::size_t>(level);
    if (state.expandedKeys.size() <= index) state.expandedKeys.resize(index + 1);
    return state.expandedKeys[index];
}

/// What a row is known by, if the row above it is known by `path`.
std::uint64_t pathBelow(std::uint64_t path, const bk2::variant_t& key) {
    std::size_t below = path;
    boost::hash_combine(below, RowKeys::hashOf(key));
    return below;
}

bool isOpen(const GridRowState& state, int level, const bk2::variant_t& key) {
    const auto index = static_cast<std::size_t>(level);
    return index < state.expandedKeys.size() && state.expandedKeys[index].contains(key);
}

} // namespace

bool GridModel::rowKey(const dataface1::ITableRow& row, const dataface1::IColumnInfo& groupingColumn,
                       bk2::variant_t& key) const {
    // Objects of two results have no identity in common, only their values.
    const int contents = m_extraVersionText.empty() ? dataface1::cell_object_id : dataface1::cell_value;
    if (!row.getValue(&groupingColumn, contents, key)) return false;
    // The key outlives the tree that a borrowed text belongs to.
    if (key.tag() == bk2::vt_text_ref) key = bk2::variant_t(key.text());
    return true;
}

void GridModel::saveGridRowState(GridRowState& state, notifykit2::IProgress* progress) const {
    if (const auto groupingColumn = getGroupingColumn()) saveVisibleRows(*groupingColumn, state, progress);
    addUnrestored(state);
}

/// A row of the provider that stands behind a visible row: a folded row stands for several.
struct GridModel::ProvidedRow {
    int row;            ///< the visible one
    bool isFront;       ///< it is the first one behind that
    int level;          ///< of the provider's rows
    bool hasKey;        ///< false if it could not be read
    bk2::variant_t key; ///< null without one
    std::uint64_t path; ///< a number for the keys from the top down to this one, where it is wanted
};

template <class Visit>
void GridModel::visitProvidedRows(const dataface1::IColumnInfo& groupingColumn,
                                  notifykit2::IProgress* progress, int rowsWithPath,
                                  const Visit& visit) const {
    struct Below {
        int level;
        std::uint64_t path;
    };
    std::vector<Below> way; // behind each visible row on the way down
    for (int row = 0; row < getRowCount() && !notifykit2::is_canceled(progress); ++row) {
        way.resize(static_cast<std::size_t>(getRowLevel(row)));
        Below below = way.empty() ? Below{0, 0} : way.back();
        const auto rows = providerRows(shownRow(row));
        for (const RowPtr& provided : rows) {
            ProvidedRow visited{row, &provided == rows.data(), below.level++, false, {}, 0};
            visited.hasKey = rowKey(*provided, groupingColumn, visited.key);
            if (row < rowsWithPath) below.path = pathBelow(below.path, visited.key);
            visited.path = below.path;
            visit(visited);
            if (getRowState(row) != RowExpanded) break;
        }
        way.push_back(below);
    }
}

void GridModel::saveVisibleRows(const dataface1::IColumnInfo& groupingColumn, GridRowState& state,
                                notifykit2::IProgress* progress) const {
    visitProvidedRows(groupingColumn, progress, getCurrentRow(), [&](ProvidedRow& visited) {
        RowKeys& keys = keysOfLevel(state, visited.level);
        if (visited.isFront && visited.row < getCurrentRow()) state.pathsAboveFocus.push_back(visited.path);
        if (visited.isFront && visited.row == getCurrentRow()) {
            state.focusKey = visited.key;
            state.focusLevel = visited.hasKey ? visited.level : -1;
        }
        if (visited.hasKey && getRowState(visited.row) == RowExpanded) keys.insert(std::move(visited.key));
    });
}

/// Of the rows that stood above the current one, the nearest that still shows; -1 if none does. Cost: all
/// rows.
int GridModel::nearestRowAbove(const GridRowState& state,
                               const dataface1::IColumnInfo& groupingColumn) const {
    boost::unordered_flat_map<std::uint64_t, std::size_t> places;
    std::size_t place = 0, nearestPlace = 0;
    for (const std::uint64_t path : state.pathsAboveFocus)
        places[path] = ++place;
    int nearest = -1;
    visitProvidedRows(groupingColumn, nullptr, getRowCount(), [&](const ProvidedRow& visited) {
        const auto found = visited.isFront ? places.find(visited.path) : places.end();
        if (found == places.end() || found->second <= nearestPlace) return;
        nearestPlace = found->second;
        nearest = visited.row;
    });
    return nearest;
}

void GridModel::forgetUnrestored(const Item& closed) {
    const auto groupingColumn = getGroupingColumn();
    if (!m_unrestored || !groupingColumn) return;
    int level = 0;
    for (const Item* above = closed.parent; above && above->data; above = above->parent)
        level += static_cast<int>(providerRows(above->data).size());
    for (const RowPtr& row : providerRows(closed.data)) {
        bk2::variant_t key;
        if (rowKey(*row, *groupingColumn, key)) keysOfLevel(*m_unrestored, level).erase(key);
        ++level;
    }
}

void GridModel::forgetUnrestoredRows() {
    if (m_unrestored) m_unrestored->expandedKeys.clear();
}

void GridModel::forgetUnrestoredFocus() {
    if (!m_unrestored) return;
    m_unrestored->focusLevel = -1;
    m_unrestored->pathsAboveFocus.clear();
}

void GridModel::addUnrestored(GridRowState& state) const {
    if (!m_unrestored) return;
    for (std::size_t level = 0; level < m_unrestored->expandedKeys.size(); ++level) {
        keysOfLevel(state, static_cast<int>(level)).insert(m_unrestored->expandedKeys[level]);
    }
    if (m_unrestored->focusLevel < 0) return;
    state.focusKey = m_unrestored->focusKey;
    state.focusLevel = m_unrestored->focusLevel;
    state.pathsAboveFocus = m_unrestored->pathsAboveFocus;
}

/// Puts a saved state back into new items. Rows whose children are at hand are walked from top to bottom, as
/// they will stand in the grid and lie in memory; those that have to be read first wait until the walk is
/// through, so that a level takes the database lock at most once.
class GridModel::StateRestoration {
public:
    StateRestoration(GridModel& grid, const GridRowState& state, notifykit2::IProgress* progress)
        : m_grid(grid), m_state(state), m_progress(progress), m_groupingColumn(grid.getGroupingColumn()) {}

    /// False if something of the state is not back: it was cancelled, or rows could not be read.
    bool run() {
        m_failed = !m_grid.root().children() && m_grid.root().hasChildren;
        pushChildren(m_grid.root(), 0);
        walk();
        while (!m_unread.empty()) {
            std::vector<Place> read = std::move(m_unread);
            m_unread.clear();
            if (!preload(read)) return false;
            for (const Place& place : read) {
                openItem(place);
                walk();
            }
        }
        m_grid.showOpened(m_opened, true);
        if (m_state.focusLevel >= 0) m_grid.m_selectedRows->setCurrentRow(focusRow());
        return !m_failed && !notifykit2::is_canceled(m_progress);
    }

private:
    /// An item and the provider's level of its first row.
    struct Place {
        Item* item;
        int level;
        int levelBelow; ///< -1 if the walk ends within a folded row
    };

    void pushChildren(Item& parent, int level) {
        if (!parent.children()) return;
        for (std::size_t i = parent.children()->size(); i-- > 0;)
            m_path.push_back({&(*parent.children())[i], level, -1});
    }

    void walk() {
        while (!m_path.empty() && !notifykit2::is_canceled(m_progress)) {
            Place place = m_path.back();
            m_path.pop_back();
            if (!match(place)) continue;
            if (!place.item->children() && !m_grid.areChildrenAtHand(*place.item->data))
                m_unread.push_back(place);
            else
                openItem(place);
        }
    }

    /// True if the item's first row was open. Looks at the further rows of a chain as far as they were.
    bool match(Place& place) {
        int level = place.level;
        for (const RowPtr& row : providerRows(place.item->data)) {
            bk2::variant_t key;
            if (!m_grid.rowKey(*row, *m_groupingColumn, key)) return level > place.level;
            if (level == m_state.focusLevel && key == m_state.focusKey)
                m_focuses[place.item] = level == place.level;
            if (!isOpen(m_state, level, key)) return level > place.level;
            ++level;
        }
        place.levelBelow = level;
        return true;
    }

    /// The row of the last item that the focus was found in. A row that is folded away has no index of its
    /// own: the first one stands for it.
    int focusRow() const {
        if (m_focuses.empty()) return m_grid.nearestRowAbove(m_state, *m_groupingColumn);
        for (int row = m_grid.getRowCount() - 1; row >= 0; --row)
            if (const auto found = m_focuses.find(m_grid.getItemByRow(row)); found != m_focuses.end())
                return found->second ? row : 0;
        return 0;
    }

    /// Makes the provider read what is missing below these rows; false if the items are gone.
    bool preload(const std::vector<Place>& places) const {
        std::vector<RowPtr> rows;
        for (const Place& place : places)
            rows.push_back(place.item->data);
        const std::uint64_t generation = m_grid.m_generation;
        const bool chains = m_grid.m_stackMode == ChainMode;
        {
            DBLock reading(m_grid);
            for (const RowPtr& row : rows)
                if (!notifykit2::is_canceled(m_progress)) readChildRows(row, chains, m_progress);
        }
        // With the lock held again: only now does it stay as it is.
        return generation == m_grid.m_generation;
    }

    void openItem(const Place& place) {
        if (notifykit2::is_canceled(m_progress)) return;
        const int count = m_grid.loadItems(*place.item, m_progress);
        m_failed = m_failed || count < 0;
        if (count < 0 || notifykit2::is_canceled(m_progress)) return;
        // One that has no children after all is to look so.
        m_opened.push_back(place.item);
        if (place.levelBelow >= 0) pushChildren(*place.item, place.levelBelow);
    }

    GridModel& m_grid;
    const GridRowState& m_state;
    notifykit2::IProgress* m_progress;
    bk2::sptr_t<dataface1::IColumnInfo> m_groupingColumn;
    std::vector<Place> m_path;   ///< of the walk, the next one last
    std::vector<Place> m_unread; ///< were open; their children are to be read
    std::vector<Item*> m_opened;
    boost::unordered_flat_map<const Item*, bool> m_focuses; ///< true if the row shows, and is not folded away
    bool m_failed = false;
};

void GridModel::restoreGridRowState(GridRowState state, notifykit2::IProgress* progress) {
    if (state.expandedKeys.empty()) return;
    // From the start: a refresh that gets the lock meanwhile must not take what is open so far for all.
    const auto wanted = std::make_shared<GridRowState>(std::move(state));
    m_unrestored = wanted;
    if (getGroupingColumn() && StateRestoration(*this, *wanted, progress).run()) m_unrestored.reset();
}

} // namespace panedeck
