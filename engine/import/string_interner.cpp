#include "import/string_interner.h"

#include "import/hashing.h"
#include "portkit/ustring8.h"

#include <algorithm>
#include <cstring>

namespace panedeck::engine {

namespace {

constexpr std::size_t block_bytes = std::size_t{256} << 10;

} // namespace

StringInterner::StringInterner() {
    intern({});
}

std::uint32_t StringInterner::intern(std::string_view text) {
    const std::uint64_t hash = hashText(text, m_lookup.strength());
    const std::uint32_t found = m_lookup.find(hash, [&](std::uint32_t at) {
        return std::string_view(m_entries[at].text, m_entries[at].size) == text;
    });
    return found == HashIndex::none ? add(text) : m_entries[found].index;
}

std::uint32_t StringInterner::add(std::string_view text) {
    if (!portkit2::is_valid_utf8(text)) return addEntry(text, intern(portkit2::repair_utf8(text)));
    const auto index = static_cast<std::uint32_t>(m_entry_of_index.size());
    m_entry_of_index.push_back(static_cast<std::uint32_t>(m_entries.size()));
    return addEntry(text, index);
}

std::uint32_t StringInterner::addEntry(std::string_view text, std::uint32_t index) {
    m_entries.push_back({keep(text), static_cast<std::uint32_t>(text.size()), index});
    m_lookup.insert(static_cast<std::uint32_t>(m_entries.size() - 1),
                    [this](std::uint32_t at, HashStrength strength) {
                        return hashText({m_entries[at].text, m_entries[at].size}, strength);
                    });
    m_text_bytes += text.size();
    return index;
}

const char* StringInterner::keep(std::string_view text) {
    if (text.size() > m_block_left) {
        m_block_left = std::max(block_bytes, text.size());
        m_blocks.push_back(std::make_unique_for_overwrite<char[]>(m_block_left));
        m_block_next = m_blocks.back().get();
    }
    char* kept = m_block_next;
    if (!text.empty()) std::memcpy(kept, text.data(), text.size());
    m_block_next += text.size();
    m_block_left -= text.size();
    return kept;
}

std::vector<std::string> StringInterner::take() {
    std::vector<std::string> texts;
    texts.reserve(m_entry_of_index.size());
    for (const std::uint32_t at : m_entry_of_index)
        texts.emplace_back(m_entries[at].text, m_entries[at].size);
    return texts;
}

} // namespace panedeck::engine
