#pragma once

#include "gridmodel/basehierarchicalmodel.h"
#include "gridmodel/item_store.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace panedeck {

/// One node of the tree that was loaded so far.
///
/// An item never moves. Its children are loaded at most once and then stay until the model is cleared:
/// closing a row frees nothing, and opening it again asks the provider for nothing.
template <class Obj>
class HierarchicalItem {
public:
    using List = ItemList<HierarchicalItem>;

    Obj data{};
    HierarchicalItem* parent = nullptr; ///< null only at the root

    /// Null until children were loaded.
    List* children() const { return reinterpret_cast<List*>(std::uintptr_t{m_children} << list_shift); }
    void setChildren(List* list) { m_children = reinterpret_cast<std::uintptr_t>(list) >> list_shift; }

private:
    // The flags take the bits of the list's address that are always 0: with a million rows each word counts.
    static constexpr int list_shift = 3;
    std::uintptr_t m_children : 61 = 0;

public:
    std::uintptr_t expanded : 1 = false;   ///< wants its children visible, also while an ancestor is closed
    std::uintptr_t hasChildren : 1 = true; ///< cleared once a load found none
};

/// A tree of items that are loaded on demand, under the flat vector of its visible rows. `Obj` is what an
/// item holds: a reference-counted pointer or a small value.
template <class Obj, class Interface>
class HierarchicalModel : public BaseHierarchicalModel<HierarchicalItem<Obj>*, Interface> {
public:
    using Item = HierarchicalItem<Obj>;
    using Base = BaseHierarchicalModel<Item*, Interface>;
    using typename Base::Record;
    using typename Base::Rows;
    using typename Base::Siblings;
    using typename Base::Sortable;

    HierarchicalModel() { resetRoot(); }

    /// Also remembers in the item whether its children are wanted.
    ExpandedRows onExpandRow(int row, bool expand, notifykit2::IProgress* progress) override {
        if (!this->isRowValid(row)) return {};
        this->getRowID(row)->expanded = expand;
        return Base::onExpandRow(row, expand, progress);
    }

    /// Also frees all items.
    void clear() override {
        Base::clear();
        m_items.clear();
        std::vector<Obj>().swap(m_loaded);
        resetRoot();
    }

    bool compareRows(const Sortable& a, const Sortable& b) const override {
        return compareItems(a.id->data, b.id->data);
    }

    /// The order of two items' data.
    virtual bool compareItems(const Obj&, const Obj&) const { return false; }

    /// The item of a visible row; the root for an invalid row.
    Item* getItemByRow(int row) { return this->isRowValid(row) ? this->getRowID(row) : &m_root; }

    /// What the item of a visible row holds. Asserts a valid row; gives an empty one otherwise.
    Obj getItemData(int row) const {
        PANEDECK_EXPECT(this->isRowValid(row), "isRowValid(row)");
        return this->isRowValid(row) ? this->getRowID(row)->data : Obj{};
    }

    /// Checks rows and items against each other; empty if all is well. Cost: all items.
    std::string verify() const {
        if (std::string fault = this->verifyRows(); !fault.empty()) return fault;
        std::vector<const Item*> path;
        std::unordered_map<const Item*, std::size_t> shown;
        for (int row = 0; row < this->rowCount(); ++row) {
            const Record& record = this->rows()[static_cast<std::size_t>(row)];
            path.resize(static_cast<std::size_t>(record.level));
            if (record.id->parent != (path.empty() ? &m_root : path.back()))
                return "row " + std::to_string(row) + " stands under another row than its item's parent";
            if ((record.state == RowExpanded) != (record.id->expanded && record.id->hasChildren))
                return "row " + std::to_string(row) + " and its item disagree on being open";
            path.push_back(record.id);
            ++shown[record.id->parent];
            if (record.state == RowExpanded && !record.id->children())
                return "row " + std::to_string(row) + " is open but was never loaded";
        }
        for (const auto& [parent, count] : shown)
            if (count != parent->children()->size()) return "a row shows only some of its children";
        return {};
    }

protected:
    /// Reads what stands below an item (at the top for null data) into `children`. Gives their number, 0 also
    /// on cancel, -1 if they could not be read.
    virtual int addNewItems(const Obj* parentData, std::vector<Obj>& children,
                            notifykit2::IProgress* progress) = 0;

    /// True if the items below `parent` were never loaded and there may be some.
    static bool isLoadWanted(const Item& parent) { return parent.hasChildren && !parent.children(); }

    /// Loads the items below `parent` if that was never done; the answer of `addNewItems`, or the number of
    /// items at hand.
    int loadItems(Item& parent, notifykit2::IProgress* progress) {
        if (parent.children()) return static_cast<int>(parent.children()->size());
        if (!parent.hasChildren) return 0;
        const int count = addNewItems(&parent == &m_root ? nullptr : &parent.data, m_loaded, progress);
        const bool isComplete = count >= 0 && !notifykit2::is_canceled(progress);
        if (isComplete && m_loaded.empty()) parent.hasChildren = false;
        if (isComplete && !m_loaded.empty()) storeItems(parent);
        releaseLoaded();
        return isComplete || count < 0 ? count : 0;
    }

    /// Loads the top items and makes their rows, sorted if a sort is set. The model was cleared before.
    int loadTopRows(notifykit2::IProgress* progress) {
        const int count = loadItems(m_root, progress);
        if (count <= 0) return count;
        Rows top;
        Record root{RowExpanded, -1, &m_root};
        this->collectSubRows(root, top, progress);
        this->setRows(std::move(top));
        return count;
    }

    /// Shows the children of all visible rows whose items want it since their flags were set: one pass over
    /// the rows, however many are opened. What is open already keeps its order. The row at `followed` is
    /// followed to its new place.
    void openWantedRows(int followed) {
        int to = followed;
        Rows made = makeWantedRows(to);
        this->replaceRows(std::move(made), followed, to);
    }

    /// The same, announced to nobody: for work that was cancelled half way.
    void openWantedRowsQuietly() {
        int unused = -1;
        this->setRows(makeWantedRows(unused));
    }

    /// Closes all rows: see the base.
    void closeAllRows(int followed) {
        Base::closeAllRows(followed, [](Item* item) { item->expanded = false; });
    }

    int addSubRows(Item* const& parent, Siblings& children, notifykit2::IProgress* progress) override {
        const int count = loadItems(*parent, progress);
        if (count <= 0) {
            // Unless it has none, it can be opened again.
            if (parent->hasChildren && parent->parent) parent->expanded = false;
            return count;
        }
        children.reserve(parent->children()->size());
        for (Item& child : *parent->children())
            children.push_back({&child, stateOf(child), 0});
        return count;
    }

    RowState stateWithoutSubRows(Item* const& row) const override {
        return row->hasChildren ? RowCollapsed : RowLeaf;
    }

    Item& root() { return m_root; }

private:
    /// Moves the index `followed` along. Not cancellable: the items' flags are set, and rows that disagree
    /// with them would stay wrong.
    Rows makeWantedRows(int& followed) {
        const int before = followed;
        Rows made;
        made.reserve(m_items.size()); // what no row comes to lie in is never touched
        for (int row = 0; row < this->rowCount(); ++row) {
            Record record = this->rows()[static_cast<std::size_t>(row)];
            const std::size_t place = made.size();
            if (row == before) followed = static_cast<int>(place);
            made.push_back(record);
            if (record.state == RowExpanded || !record.id->expanded) continue;
            made[place].state = RowExpanded;
            Record opened = made[place];
            this->collectSubRows(opened, made, nullptr);
            made[place].state = opened.state;
        }
        return made;
    }

    static RowState stateOf(const Item& item) {
        if (!item.hasChildren) return RowLeaf;
        return item.expanded ? RowExpanded : RowCollapsed;
    }

    void storeItems(Item& parent) {
        parent.setChildren(&m_items.add(m_loaded.size(), [&](std::size_t index) {
            Item item;
            item.data = std::move(m_loaded[index]);
            item.parent = &parent;
            return item;
        }));
    }

    void releaseLoaded() {
        constexpr std::size_t most_kept = 4096;
        m_loaded.clear();
        if (m_loaded.capacity() > most_kept) std::vector<Obj>().swap(m_loaded);
    }

    void resetRoot() {
        m_root = Item{};
        m_root.expanded = true;
    }

    ItemStore<Item> m_items;
    std::vector<Obj> m_loaded; ///< on the way from the provider into a list; empty between two loads
    Item m_root;
};

} // namespace panedeck
