#pragma once

#include "basekit/assertion.h"
#include "basekit/large_pages.h"
#include "gridmodel/index_translator.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <tsl/ordered_set.h>
#include <utility>

namespace panedeck {

/// How a request changes the selection.
enum SelectionType : int {
    SelectNone = 0,      ///< only the current row moves
    SelectSetSingle = 1, ///< the row alone
    SelectAddRange = 2,  ///< all rows from the current one to the row, both included, are added
    SelectAll = 3,       ///< every visible row; the current row stays
    SelectToggle = 4,    ///< the row in or out
    SelectClear = 5,     ///< nothing; the current row is none
};

/// Hashes a pointer by its address. Eight that lie side by side in memory do so in a set too, so that rows
/// that are selected as they stand in the grid share what has to be fetched of the set's memory.
struct AddressHash {
    template <class Pointer>
    std::size_t operator()(const Pointer& pointer) const {
        constexpr std::size_t neighbours = 8;
        const std::size_t place = reinterpret_cast<std::uintptr_t>(pointer.get()) / alignof(void*);
        const std::size_t mixed = place / neighbours * 0x9e3779b97f4a7c15u;
        return ((mixed ^ mixed >> 32) & ~(neighbours - 1)) | place % neighbours;
    }
};

/// The selection of a grid. It holds items, not indexes, so it survives any change of the visible rows, and a
/// reference to each item, so a selected row outlives its place in the model. Only the current row is an
/// index, kept valid by `translateIndexes`.
///
/// `Item` is a reference-counted pointer that hashes by its address. Used under the model's lock.
template <class Item>
class SelectedItems {
public:
    /// Gives the item of a visible row, an empty one past the last row and before the first.
    using ItemGetter = std::function<Item(int row)>;
    /// Keeps the order in which items were put in: rows that were selected as they stand in the grid are read
    /// in that order too, and not all over the memory.
    using Set = tsl::ordered_set<Item, AddressHash, std::equal_to<Item>, bk2::array_allocator_t<Item>,
                                 bk2::array_t<Item>>;

    explicit SelectedItems(ItemGetter getter) : m_getter(std::move(getter)) {}

    /// Changes the selection as the type says; `row` is not looked at by "all" and "clear". An unknown type
    /// changes nothing but says that it did.
    void process(int row, int type) {
        switch (type) {
        case SelectNone:
            m_current_row = row;
            return;
        case SelectSetSingle:
            setSingle(row);
            return;
        case SelectAddRange:
            addRange(row);
            break;
        case SelectAll:
            addAll();
            break;
        case SelectToggle:
            toggle(row);
            break;
        case SelectClear:
            m_items.clear();
            m_current_row = -1;
            break;
        default:
            break;
        }
        m_changed = true;
    }

    /// Makes room for that many items, if so many are going to be selected.
    void reserve(std::size_t count) { m_items.reserve(count); }

    bool isSelected(const Item& item) const { return m_items.contains(item); }

    /// Empties the set; the current row stays. Nothing happens to an empty set.
    void clear() {
        if (m_items.empty()) return;
        m_items.clear();
        m_changed = true;
    }

    /// Puts `replacement` in for each item that `leaves` names; true if there was one.
    template <class Predicate>
    bool replaceIf(const Predicate& leaves, const Item& replacement) {
        Set kept;
        std::ranges::remove_copy_if(m_items, std::inserter(kept, kept.end()), leaves);
        if (kept.size() == m_items.size()) return false;
        kept.insert(replacement);
        m_items = std::move(kept);
        m_changed = true;
        return true;
    }

    /// Puts a whole new set in and says that it changed.
    void assign(Set items) {
        m_items = std::move(items);
        m_changed = true;
    }

    /// Moves the current row to where its row went.
    void translateIndexes(const IIndexTranslator* indexTranslator) {
        PANEDECK_EXPECT(indexTranslator, "indexTranslator");
        if (indexTranslator) m_current_row = indexTranslator->translate(m_current_row, nullptr);
    }

    int getCurrentRow() const { return m_current_row; }
    void setCurrentRow(int row) { m_current_row = row; }

    /// True if the set changed since `resetChanged`.
    bool isChanged() const { return m_changed; }
    void resetChanged() { m_changed = false; }

    std::size_t size() const { return m_items.size(); }
    bool empty() const { return m_items.empty(); }
    typename Set::const_iterator begin() const { return m_items.begin(); }
    typename Set::const_iterator end() const { return m_items.end(); }

private:
    void setSingle(int row) {
        Item item = m_getter(row);
        // A click on the one selected row is no change: no event follows it.
        if (m_items.size() == 1 && m_items.contains(item)) return;
        m_items.clear();
        m_items.insert(std::move(item));
        m_current_row = row;
        m_changed = true;
    }

    void addRange(int row) {
        const auto [first, last] = std::minmax({row, m_current_row});
        for (int i = first; i <= last; ++i)
            m_items.insert(m_getter(i));
        m_current_row = row;
    }

    void addAll() {
        m_items.clear();
        // Counting a reference makes the processor wait for all that it has stored before, and the set stores
        // all over the memory: some items are fetched first and put in after.
        std::array<Item, 64> some;
        for (int row = 0;;) {
            std::size_t count = 0;
            while (count < some.size() && (some[count] = m_getter(row)))
                ++count, ++row;
            for (std::size_t i = 0; i < count; ++i)
                m_items.insert(std::move(some[i]));
            if (count < some.size()) return;
        }
    }

    void toggle(int row) {
        Item item = m_getter(row);
        if (m_items.unordered_erase(item) == 0) m_items.insert(std::move(item));
        m_current_row = row;
    }

    ItemGetter m_getter;
    Set m_items;
    int m_current_row = -1;
    bool m_changed = false;
};

} // namespace panedeck
