#pragma once

#include "basekit/large_pages.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace panedeck {

/// A list of items that was made with its length and never moves.
template <class Item>
class ItemList {
public:
    Item* begin() { return reinterpret_cast<Item*>(this + 1); }
    Item* end() { return begin() + m_size; }
    Item& operator[](std::size_t index) { return begin()[index]; }
    std::size_t size() const { return m_size; }

private:
    template <class>
    friend class ItemStore;

    explicit ItemList(std::size_t size) : m_size(size) {}

    alignas(Item) std::size_t m_size; ///< the items stand behind it
};

/// The lists of a tree's items, one behind the other in the order in which they were made: items that were
/// loaded one after the other lie beside each other. All go at once. A list costs one word beside its items.
template <class Item>
class ItemStore {
public:
    using List = ItemList<Item>;

    ItemStore() = default;
    ~ItemStore() { clear(); }
    ItemStore(const ItemStore&) = delete;
    ItemStore& operator=(const ItemStore&) = delete;

    /// A list of `size` items, the one at `index` made from what `make(index)` gives. Throws std::bad_alloc.
    template <class Make>
    List& add(std::size_t size, const Make& make) {
        const std::size_t bytes = sizeof(List) + size * sizeof(Item);
        if (m_blocks.empty() || m_blocks.back().size - m_blocks.back().used < bytes) addBlock(bytes);
        Block& block = m_blocks.back();
        List* list = new (block.memory.get() + block.used) List(size);
        for (std::size_t index = 0; index < size; ++index)
            new (list->begin() + index) Item(make(index));
        block.used += bytes;
        m_size += size;
        return *list;
    }

    /// How many items there are.
    std::size_t size() const { return m_size; }

    /// Destroys all items. Does not recurse: no list holds another.
    void clear() {
        for (Block& block : m_blocks)
            for (std::size_t place = 0; place < block.used;) {
                List& list = *reinterpret_cast<List*>(block.memory.get() + place);
                place += sizeof(List) + list.size() * sizeof(Item);
                std::destroy(list.begin(), list.end());
            }
        m_blocks.clear();
        m_size = 0;
    }

private:
    struct Block {
        std::unique_ptr<std::byte, bk2::free_array_t> memory;
        std::size_t size = 0;
        std::size_t used = 0;
    };

    void addBlock(std::size_t bytes) {
        constexpr std::size_t smallest = 1024, largest = std::size_t{4} << 20;
        const std::size_t doubled = m_blocks.empty() ? smallest : m_blocks.back().size * 2;
        const std::size_t size = std::max(bytes, std::min(doubled, largest));
        m_blocks.push_back(
            {decltype(Block::memory)(static_cast<std::byte*>(bk2::allocate_array(size))), size, 0});
    }

    std::vector<Block> m_blocks;
    std::size_t m_size = 0;
};

} // namespace panedeck
