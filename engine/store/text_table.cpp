#include "store/text_table.h"

#include <algorithm>
#include <numeric>

namespace panedeck::engine {

TextTable::TextTable(std::uint32_t count, text_of_t text_of)
    : m_count(count), m_text_count(count), m_text_of(std::move(text_of)), m_blocks(count / block_size + 1) {}

TextTable::TextTable(bk2::array_t<std::uint32_t> text_numbers, std::uint32_t text_count, text_of_t text_of)
    : m_count(static_cast<std::uint32_t>(text_numbers.size())), m_text_numbers(std::move(text_numbers)),
      m_text_count(text_count), m_text_of(std::move(text_of)), m_blocks(text_count / block_size + 1) {}

TextTable::~TextTable() {
    for (const auto& block : m_blocks)
        delete block.load(std::memory_order_relaxed);
}

const bk2::variant_t& TextTable::text(std::uint32_t entry) const {
    const std::uint32_t number = m_text_numbers.empty() ? entry : m_text_numbers[entry];
    const Block* block = m_blocks[number / block_size].load(std::memory_order_acquire);
    if (!block) block = makeBlock(number / block_size);
    return block->texts[number % block_size];
}

const TextTable::Block* TextTable::makeBlock(std::uint32_t index) const {
    const std::lock_guard lock(m_making);
    if (const Block* made = m_blocks[index].load(std::memory_order_relaxed)) return made;
    auto block = std::make_unique<Block>();
    const std::uint32_t first = index * block_size;
    for (std::uint32_t number = std::max(first, 1u); number < std::min(first + block_size, m_text_count);
         ++number)
        block->texts[number - first] = bk2::variant_t(m_text_of(number));
    m_blocks[index].store(block.get(), std::memory_order_release);
    return block.release();
}

const std::vector<std::uint32_t>& TextTable::ranks() const {
    std::call_once(m_ranked, [this] {
        std::vector<std::uint32_t> order(m_count);
        std::iota(order.begin(), order.end(), 0u);
        std::vector<std::string_view> texts(m_count);
        for (std::uint32_t entry = 0; entry < m_count; ++entry)
            texts[entry] = text(entry).text();
        std::ranges::sort(order.begin() + (m_count > 0), order.end(), {},
                          [&texts](std::uint32_t entry) { return texts[entry]; });
        m_ranks.resize(m_count);
        std::uint32_t rank = 0;
        for (std::size_t i = 1; i < order.size(); ++i) {
            if (i == 1 || texts[order[i]] != texts[order[i - 1]]) ++rank;
            m_ranks[order[i]] = rank;
        }
    });
    return m_ranks;
}

} // namespace panedeck::engine
