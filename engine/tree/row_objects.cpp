#include "tree/row_objects.h"

#include "tree/table_tree.h"
#include "tree/tree_column.h"

#include <cstdlib>
#include <new>

namespace panedeck::engine {

namespace {

using RowPtr = bk2::sptr_t<dataface1::ITableRow>;

} // namespace

RowObjects::~RowObjects() {
    for (auto& page : m_pages) {
        if (!page) continue;
        for (auto& block : *page)
            std::free(block.load(std::memory_order_relaxed));
        delete page.load(std::memory_order_relaxed);
    }
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
    if (!block) {
        Block* fresh = makeBlock(static_cast<RowIndex>(number * rows_per_block));
        if (slot.compare_exchange_strong(block, fresh, std::memory_order_acq_rel))
            block = fresh;
        else
            std::free(fresh);
    }
    return block->row(row % rows_per_block);
}

RowObjects::Block* RowObjects::makeBlock(RowIndex first) const {
    void* memory = std::aligned_alloc(block_bytes, block_bytes);
    if (!memory) throw std::bad_alloc();
    auto* block = new (memory) Block;
    block->tree = &m_tree;
    block->first = first;
    // Rows have no state of their own, so that a block is freed without their destructors.
    for (std::size_t i = 0; i < rows_per_block; ++i)
        new (block->row(i)) TableRow;
    return block;
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
