#pragma once

#include "basekit/large_pages.h"
#include "basekit/variant.h"

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace panedeck::engine {

/// The texts of a dimension's entries as variants that share their characters: made once, when first read, in
/// blocks. Reading a text that is there takes no lock and copies no characters. Entry 0, the unknown one, is
/// the null variant.
class TextTable {
public:
    using text_of_t = std::function<std::string(std::uint32_t)>;

    /// `text_of` is called for each entry at most once per block, from any thread, one at a time.
    TextTable(std::uint32_t count, text_of_t text_of);
    /// For a table in which texts repeat: each entry has a text number, 0 the unknown one, and `text_of` is
    /// called with the numbers below `text_count`. Entries of one number share their characters.
    TextTable(bk2::array_t<std::uint32_t> text_numbers, std::uint32_t text_count, text_of_t text_of);
    ~TextTable();

    TextTable(const TextTable&) = delete;
    TextTable& operator=(const TextTable&) = delete;

    std::uint32_t size() const { return m_count; }
    const bk2::variant_t& text(std::uint32_t entry) const;

    /// The place of each entry among all by bytewise order of their texts; equal texts have equal ranks, the
    /// unknown entry has the lowest. Worked out on first use.
    const std::vector<std::uint32_t>& ranks() const;

private:
    static constexpr std::uint32_t block_size = 256;
    struct Block {
        std::array<bk2::variant_t, block_size> texts;
    };

    const Block* makeBlock(std::uint32_t index) const;

    std::uint32_t m_count;
    bk2::array_t<std::uint32_t> m_text_numbers; ///< empty if each entry is its own
    std::uint32_t m_text_count;
    text_of_t m_text_of;
    mutable std::vector<std::atomic<const Block*>> m_blocks;
    mutable std::mutex m_making;
    mutable std::once_flag m_ranked;
    mutable std::vector<std::uint32_t> m_ranks;
};

} // namespace panedeck::engine
