#pragma once

#include "basekit/large_pages.h"
#include "dataface/table_tree.h"
#include "tree/row_tree.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace panedeck::engine {

class TableTree;

/// A row of a table tree as an object: nothing but its place in a block, which tells tree and number.
/// References to it are references to the tree.
class TableRow final : public dataface1::ITableRow {
public:
    ~TableRow() override = default;

    const TableTree& tree() const;
    RowIndex index() const;

    void add_ref() const override;
    void release() const override;
    bk2::sptr_t<dataface1::IQuery> getQuery() const override;
    bk2::sptr_t<dataface1::ITableRow> getParentRow() const override;
    bk2::sptr_t<dataface1::ITableTree> getTableTree() const override;
    bool getValue(const dataface1::IColumnInfo* column, int contents, bk2::variant_t& value) const override;
    int getChildRows(bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>>& children,
                     notifykit2::IProgress* progress, bool all) const override;
};

/// The row objects of one tree: in blocks that are made when one of their rows is first asked for and never
/// move, so the address of a row names it. Safe from any thread; only making a block takes a lock.
class RowObjects {
public:
    explicit RowObjects(const TableTree& tree) : m_tree(tree) {}
    ~RowObjects();

    RowObjects(const RowObjects&) = delete;
    RowObjects& operator=(const RowObjects&) = delete;

    TableRow* at(RowIndex row);

private:
    friend class TableRow;

    struct Header {
        const TableTree* tree;
        RowIndex first;
    };

    /// Places for rows, two of which are taken by the header. Which two depends on the block's address: if
    /// all headers stood at the same offset, they would drive each other out of the processor's caches.
    class Block {
    public:
        static constexpr std::size_t bytes = 4096;

        /// The block that a row stands in.
        static Block& of(const TableRow& row) {
            return *reinterpret_cast<Block*>(reinterpret_cast<std::uintptr_t>(&row) &
                                             ~std::uintptr_t{bytes - 1});
        }
        Header& header() {
            return *reinterpret_cast<Header*>(m_memory.data() + headerPlace() * sizeof(TableRow));
        }
        TableRow* row(std::size_t index) {
            return rowAt(index < headerPlace() ? index : index + header_places);
        }
        std::size_t indexOf(const TableRow& row) {
            const auto place = static_cast<std::size_t>(&row - rowAt(0));
            return place < headerPlace() ? place : place - header_places;
        }

    private:
        static constexpr std::size_t header_places = sizeof(Header) / sizeof(TableRow);
        static constexpr std::size_t cache_line = 64;

        /// At the start of a cache line, another one for each of the blocks that stand in a row.
        std::size_t headerPlace() const {
            const auto number = reinterpret_cast<std::uintptr_t>(this) / bytes;
            return number % (bytes / cache_line) * (cache_line / sizeof(TableRow));
        }
        TableRow* rowAt(std::size_t place) { return reinterpret_cast<TableRow*>(m_memory.data()) + place; }

        alignas(bytes) std::array<std::byte, bytes> m_memory;
    };
    static_assert(sizeof(TableRow) == sizeof(void*) && sizeof(Header) % sizeof(TableRow) == 0);
    static constexpr std::size_t rows_per_block = (Block::bytes - sizeof(Header)) / sizeof(TableRow);

    // Blocks are cut from slabs of 1, 2, 4 … blocks, up to a large page.
    static constexpr std::size_t largest_slab = 512;

    static constexpr std::size_t blocks_per_page = 1024;
    using Page = std::array<std::atomic<Block*>, blocks_per_page>;
    static constexpr std::size_t pages = (std::size_t{1} << 28) / rows_per_block / blocks_per_page + 1;

    /// The block that stands in the slot, made now if there is none.
    Block* makeBlock(std::atomic<Block*>& slot, RowIndex first);
    void* blockMemory();

    const TableTree& m_tree;
    std::mutex m_making; ///< guards the slabs, and is held while a block is made
    std::vector<std::unique_ptr<std::byte, bk2::free_array_t>> m_slabs;
    std::size_t m_last_slab = 0;   ///< its size in blocks
    std::size_t m_blocks_left = 0; ///< at its end
    std::byte* m_next_block = nullptr;
    std::array<std::atomic<Page*>, pages> m_pages{};
};

} // namespace panedeck::engine
