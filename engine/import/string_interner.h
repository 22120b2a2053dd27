#pragma once

#include "import/hash_index.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace panedeck::engine {

/// Gives equal texts equal indexes, in the order of first appearance; "" is 0. Texts that are no UTF-8 are
/// the same as their repaired form. A known text costs one lookup and no allocation.
class StringInterner {
public:
    StringInterner();

    std::uint32_t intern(std::string_view text);

    /// Bytes of all distinct texts.
    std::uint64_t text_bytes() const { return m_text_bytes; }

    /// The texts by index. The interner is spent then.
    std::vector<std::string> take();

private:
    /// A key as it was given, and the index of its text, which several broken forms may share.
    struct Entry {
        const char* text;
        std::uint32_t size;
        std::uint32_t index;
    };

    std::uint32_t add(std::string_view text);
    std::uint32_t addEntry(std::string_view text, std::uint32_t index);
    const char* keep(std::string_view text);

    HashIndex m_lookup;
    std::vector<Entry> m_entries;
    std::vector<std::uint32_t> m_entry_of_index;
    std::vector<std::unique_ptr<char[]>> m_blocks;
    std::size_t m_block_left = 0;
    char* m_block_next = nullptr;
    std::uint64_t m_text_bytes = 0;
};

} // namespace panedeck::engine
