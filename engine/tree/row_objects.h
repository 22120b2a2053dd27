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

    static constexpr std::size_t block_bytes = 4096;
    struct Header {
        const TableTree* tree;
        RowIndex first;
    };
    static constexpr std::size_t rows_per_block = (block_bytes - sizeof(Header)) / sizeof(TableRow);
    struct Block : Header {
        alignas(TableRow) std::array<std::byte, rows_per_block * sizeof(TableRow)> rows;
        TableRow* row(std::size_t i) { return reinterpret_cast<TableRow*>(rows.data()) + i; }
    };
    static_assert(sizeof(Block) <= block_bytes);

    // Blocks are cut from slabs of 1, 2, 4 … blocks, up to a large page.
    static constexpr std::size_t largest_slab = 512;

    static constexpr std::size_t blocks_per_page = 1024;
    using Page = std::array<std::atomic<Block*>, blocks_per_page>;
    static constexpr std::size_t pages = (std::size_t{1} << 28) / rows_per_block / blocks_per_page + 1;

    /// The block in which a row stands, by its address.
    static const Block& blockOf(const TableRow& row);
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
