#include "tree/row_objects.h"

#include "tree/table_tree.h"
#include "tree/tree_column.h"

#include <algorithm>
#include <new>
#include <utility>

namespace panedeck::engine {

namespace {

using RowPtr = bk2::sptr_t<dataface1::ITableRow>;

} // namespace

RowObjects::~RowObjects() {
    for (auto& page : m_pages)
        delete page.load(std::memory_order_relaxed);
}

TableRow* RowObjects::at(RowIndex row) {
    const std::size_t number = row / rows_per_block;
    std::atomic<Page*>& page_slot = m_pages[number / blocks_per_page];
    Page* page = page_slot.load(std::memory_order_acquire);
    if (!page) {
        auto fresh = std::make_unique<Page>();
        if (page_slot.compare_exchange_strong(page, fresh.get(), std::memory_order_acq_rel))
            page = fresh.release();
    }
    std::atomic<Block*>& slot = (*page)[number % blocks_per_page];
    Block* block = slot.load(std::memory_order_acquire);
    if (!block) block = makeBlock(slot, static_cast<RowIndex>(number * rows_per_block));
    return block->row(row % rows_per_block);
}

RowObjects::Block* RowObjects::makeBlock(std::atomic<Block*>& slot, RowIndex first) {
    const std::lock_guard lock(m_making);
    if (Block* made = slot.load(std::memory_order_acquire)) return made;
    auto* block = new (blockMemory()) Block;
    block->tree = &m_tree;
    block->first = first;
    // Rows have no state of their own, so that a block is freed without their destructors.
    for (std::size_t i = 0; i < rows_per_block; ++i)
        new (block->row(i)) TableRow;
    slot.store(block, std::memory_order_release);
    return block;
}

void* RowObjects::blockMemory() {
    if (m_blocks_left == 0) {
        const std::size_t blocks = std::min(m_slabs.empty() ? 1 : m_last_slab * 2, largest_slab);
        m_last_slab = blocks;
        void* memory = bk2::allocate_array(blocks * block_bytes, block_bytes);
        m_slabs.emplace_back(static_cast<std::byte*>(memory));
        m_next_block = m_slabs.back().get();
        m_blocks_left = blocks;
    }
    --m_blocks_left;
    return std::exchange(m_next_block, m_next_block + block_bytes);
}

const RowObjects::Block& RowObjects::blockOf(const TableRow& row) {
    const auto address = reinterpret_cast<std::uintptr_t>(&row);
    return *reinterpret_cast<const Block*>(address & ~std::uintptr_t{block_bytes - 1});
}

const TableTree& TableRow::tree() const {
    return *RowObjects::blockOf(*this).tree;
}

RowIndex TableRow::index() const {
    const RowObjects::Block& block = RowObjects::blockOf(*this);
    return block.first + static_cast<RowIndex>(this - const_cast<RowObjects::Block&>(block).row(0));
}

void TableRow::add_ref() const {
    tree().add_ref();
}

void TableRow::release() const {
    tree().release();
}

bk2::sptr_t<dataface1::IQuery> TableRow::getQuery() const {
    return tree().levelQuery(tree().model().levelOf(index()));
}

RowPtr TableRow::getParentRow() const {
    const RowIndex parent = tree().model().parentOf(index());
    return parent == no_row ? nullptr : RowPtr(tree().rowObject(parent));
}

bk2::sptr_t<dataface1::ITableTree> TableRow::getTableTree() const {
    return bk2::sptr_t<dataface1::ITableTree>(const_cast<TableTree*>(&tree()));
}

bool TableRow::getValue(const dataface1::IColumnInfo* column, int contents, bk2::variant_t& value) const {
    value.free_data();
    const TreeColumn* own = tree().ownColumn(column);
    return own && tree().model().value(index(), own->content(), contents, value);
}

int TableRow::getChildRows(bk2::iterator_ptr_t<RowPtr>& children, notifykit2::IProgress* progress,
                           bool all) const {
    const TableModel& model = tree().model();
    if (!all) return model.areChildrenAtHand(index()) ? ecsfAtHand : ecsfUnknown;
    RowRange range;
    if (model.children(index(), progress, range).failed()) return ecsfError;
    children = tree().iterate(range);
    return ecsfAtHand;
}

} // namespace panedeck::engine
