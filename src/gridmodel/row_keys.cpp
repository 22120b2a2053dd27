#include "gridmodel/row_keys.h"

#include "portkit/ustring8.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

namespace panedeck {

namespace {

/// The value of a whole number from 0 to 2^64 - 1, of whatever kind.
std::optional<std::uint64_t> wholeNumber(const bk2::variant_t& key) {
    if (key.tag() == bk2::vt_u64) return key.get<bk2::u64_t>();
    if (key.is_integer()) {
        const auto number = key.get<bk2::s64_t>();
        if (number < 0) return std::nullopt;
        return static_cast<std::uint64_t>(number);
    }
    if (!key.is_numeric()) return std::nullopt;
    const auto number = key.get<double>();
    const bool is_whole = std::trunc(number) == number && number >= 0 && number < 0x1p64;
    if (!is_whole) return std::nullopt;
    return static_cast<std::uint64_t>(number);
}

std::uint64_t bitOf(std::uint64_t number) {
    return std::uint64_t{1} << number % 64;
}

std::size_t hashOfText(std::string_view text) {
    return std::hash<std::string_view>()(text);
}

} // namespace

void RowKeys::insert(bk2::variant_t key) {
    m_isIndexed = false;
    if (const auto number = wholeNumber(key))
        m_numbers.push_back(*number);
    else
        m_others.insert(std::move(key));
}

void RowKeys::insert(const RowKeys& keys) {
    m_isIndexed = false;
    m_numbers.insert(m_numbers.end(), keys.m_numbers.begin(), keys.m_numbers.end());
    m_others.insert(keys.m_others.begin(), keys.m_others.end());
}

void RowKeys::erase(const bk2::variant_t& key) {
    m_isIndexed = false;
    if (const auto number = wholeNumber(key))
        std::erase(m_numbers, *number);
    else
        m_others.erase(key);
}

bool RowKeys::contains(const bk2::variant_t& key) const {
    const auto number = wholeNumber(key);
    if (!number) return m_others.contains(key);
    if (!m_isIndexed) makeIndex();
    const std::uint64_t word = *number / 64 - m_firstWord;
    if (word < m_words.size()) return m_words[word] & bitOf(*number);
    return m_scattered.contains(*number);
}

void RowKeys::makeIndex() const {
    m_isIndexed = true;
    m_words.clear();
    m_scattered.clear();
    if (m_numbers.empty()) return;
    const auto [least, greatest] = std::ranges::minmax(m_numbers);
    m_firstWord = least / 64;
    const std::uint64_t words = greatest / 64 - m_firstWord + 1;
    constexpr std::uint64_t words_per_number = 2;
    if (words > words_per_number * m_numbers.size()) {
        m_scattered.insert(m_numbers.begin(), m_numbers.end());
        return;
    }
    m_words.resize(words);
    for (const std::uint64_t number : m_numbers)
        m_words[number / 64 - m_firstWord] |= bitOf(number);
}

std::size_t RowKeys::hashOf(const bk2::variant_t& key) {
    const auto number = wholeNumber(key);
    return number ? *number : Hash()(key);
}

/// Of keys that are no whole number from 0 on: a negative one by its value, and so a double that equals it.
std::size_t RowKeys::Hash::operator()(const bk2::variant_t& key) const {
    if (key.is_numeric()) return std::hash<double>()(key.get<double>());
    if (key.is_wide_text()) return hashOfText(portkit2::to_narrow(key.wide_text()));
    return key.is_narrow_text() ? hashOfText(key.text()) : hashOfText(key.bytes());
}

} // namespace panedeck
