#include "gridmodel/sibling_order.h"

#include "gridmodel/fold_case.h"

#include <boost/unordered/unordered_flat_map.hpp>
#include <tbb/parallel_sort.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>

namespace panedeck {

namespace {

constexpr std::size_t parallel_from = 500;
// Below every number and every rank: what orders unknown values and those that are no number.
constexpr std::uint64_t unknown_order = 0;
constexpr std::uint64_t not_a_number_order = 1;
constexpr std::uint64_t first_order = 2;

/// Integers in the order of the doubles; the two zeros are one.
std::uint64_t orderOf(double number) {
    if (std::isnan(number)) return not_a_number_order;
    const auto bits = std::bit_cast<std::uint64_t>(number + 0.0);
    constexpr std::uint64_t sign = std::uint64_t{1} << 63;
    return (bits & sign) ? ~bits : bits | sign;
}

bool isExactAsDouble(const bk2::variant_t& value) {
    constexpr std::int64_t limit = std::int64_t{1} << std::numeric_limits<double>::digits;
    if (value.tag() == bk2::vt_u64) return value.get<bk2::u64_t>() <= static_cast<std::uint64_t>(limit);
    if (value.tag() != bk2::vt_s64) return true;
    const auto number = value.get<bk2::s64_t>();
    return number >= -limit && number <= limit;
}

/// Wide enough for every 64-bit integer and every double.
long double wideNumber(const bk2::variant_t& value) {
    if (value.tag() == bk2::vt_u64) return static_cast<long double>(value.get<bk2::u64_t>());
    if (value.is_integer()) return static_cast<long double>(value.get<bk2::s64_t>());
    return static_cast<long double>(value.get<double>());
}

template <class Before>
void sortInParallel(auto& values, const Before& before) {
    if (values.size() < parallel_from)
        std::sort(values.begin(), values.end(), before);
    else // The caller waits with the model locked: it must not pick up other work meanwhile.
        tbb::this_task_arena::isolate([&] { tbb::parallel_sort(values.begin(), values.end(), before); });
}

/// Distinct texts, without their case, with their numbers in the order in which they were met.
class FoldedTexts {
public:
    std::uint32_t numberOf(const bk2::variant_t& value) {
        // Equal texts mostly share their characters, so most look-ups compare no more than an address.
        const char* address = value.is_narrow_text() ? value.get<const char*>() : nullptr;
        if (!address) return numberOfText(bk2::get_value_string(value));
        const auto [known, added] = m_by_address.try_emplace(address);
        if (added) known->second = numberOfText(value.text());
        return known->second;
    }

    /// The place of each text among all.
    std::vector<std::uint32_t> ranks() const {
        struct Numbered {
            std::uint64_t head;
            std::string_view text;
            std::uint32_t number;
        };
        const std::size_t shared = sharedPrefix();
        std::vector<Numbered> ordered(m_by_text.size());
        for (const auto& [text, number] : m_by_text)
            ordered[number] = {headOf(text, shared), text, number};
        sortInParallel(ordered, [](const Numbered& a, const Numbered& b) {
            return a.head != b.head ? a.head < b.head : a.text < b.text;
        });
        std::vector<std::uint32_t> ranks(ordered.size());
        for (std::uint32_t rank = 0; rank < ordered.size(); ++rank)
            ranks[ordered[rank].number] = rank;
        return ranks;
    }

private:
    /// How many characters all texts begin with: names of one program often share a namespace.
    std::size_t sharedPrefix() const {
        if (m_by_text.empty()) return 0;
        std::string_view shared = m_by_text.begin()->first;
        for (const auto& [text, number] : m_by_text)
            shared = shared.substr(
                0, static_cast<std::size_t>(
                       std::mismatch(shared.begin(), shared.end(), text.begin(), text.end()).first -
                       shared.begin()));
        return shared.size();
    }

    /// The next eight characters as a number of the same order, so that most comparisons read no text.
    static std::uint64_t headOf(std::string_view text, std::size_t begin) {
        std::uint64_t head = 0;
        for (std::size_t i = 0; i < sizeof head; ++i) {
            const bool isThere = begin + i < text.size();
            head = head << 8 | (isThere ? static_cast<unsigned char>(text[begin + i]) : 0u);
        }
        return head;
    }

    std::uint32_t numberOfText(std::string_view text) {
        foldCase(text, m_folded);
        return m_by_text.try_emplace(m_folded, static_cast<std::uint32_t>(m_by_text.size())).first->second;
    }

    boost::unordered_flat_map<const char*, std::uint32_t> m_by_address;
    boost::unordered_flat_map<std::string, std::uint32_t> m_by_text;
    std::string m_folded;
};

} // namespace

bk2::array_t<bk2::variant_t>& SiblingOrder::values(std::size_t count) {
    m_values.resize(count);
    return m_values;
}

const bk2::array_t<std::uint32_t>& SiblingOrder::sort(bool descending) {
    bool has_text = false, has_inexact = false;
    for (const bk2::variant_t& value : m_values) {
        has_text = has_text || value.is_narrow_text() || value.is_wide_text();
        has_inexact = has_inexact || !isExactAsDouble(value);
    }
    m_keys.resize(m_values.size());
    m_sorted.resize(m_values.size());
    m_limit = 0;
    if (has_text)
        makeTextKeys();
    else if (has_inexact)
        makeWideNumberKeys();
    else
        makeNumberKeys();
    if (m_limit > 0 && m_limit <= m_keys.size())
        countKeys(descending);
    else
        sortKeys(descending);
    return m_sorted;
}

void SiblingOrder::clear() {
    constexpr std::size_t kept = 4096;
    if (m_values.capacity() > kept)
        *this = SiblingOrder();
    else
        m_values.clear();
}

void SiblingOrder::sortKeys(bool descending) {
    if (descending)
        sortInParallel(m_keys, [](const Key& a, const Key& b) { return b.order < a.order; });
    else
        sortInParallel(m_keys, [](const Key& a, const Key& b) { return a.order < b.order; });
    std::transform(m_keys.begin(), m_keys.end(), m_sorted.begin(), [](const Key& key) { return key.index; });
}

void SiblingOrder::countKeys(bool descending) {
    std::vector<std::uint32_t> first(m_limit + 1);
    const auto slot = [&](const Key& key) { return descending ? m_limit - 1 - key.order : key.order; };
    for (const Key& key : m_keys)
        ++first[slot(key) + 1];
    for (std::size_t i = 1; i < first.size(); ++i)
        first[i] += first[i - 1];
    for (const Key& key : m_keys)
        m_sorted[first[slot(key)]++] = key.index;
}

void SiblingOrder::makeNumberKeys() {
    for (std::uint32_t i = 0; i < m_values.size(); ++i) {
        const bk2::variant_t& value = m_values[i];
        m_keys[i] = {value.is_numeric() ? orderOf(value.get<double>()) : unknown_order, i};
    }
}

void SiblingOrder::makeWideNumberKeys() {
    std::vector<long double> distinct;
    for (const bk2::variant_t& value : m_values)
        if (value.is_numeric() && !std::isnan(wideNumber(value))) distinct.push_back(wideNumber(value));
    std::sort(distinct.begin(), distinct.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    for (std::uint32_t i = 0; i < m_values.size(); ++i) {
        m_keys[i] = {unknown_order, i};
        if (!m_values[i].is_numeric()) continue;
        const long double number = wideNumber(m_values[i]);
        const auto rank = std::lower_bound(distinct.begin(), distinct.end(), number) - distinct.begin();
        m_keys[i].order =
            std::isnan(number) ? not_a_number_order : first_order + static_cast<std::uint64_t>(rank);
    }
}

void SiblingOrder::makeTextKeys() {
    FoldedTexts texts;
    for (std::uint32_t i = 0; i < m_values.size(); ++i)
        m_keys[i] = {m_values[i].is_null() ? unknown_order : first_order + texts.numberOf(m_values[i]), i};
    const std::vector<std::uint32_t> ranks = texts.ranks();
    for (Key& key : m_keys)
        if (key.order != unknown_order) key.order = first_order + ranks[key.order - first_order];
    m_limit = first_order + ranks.size();
}

} // namespace panedeck
