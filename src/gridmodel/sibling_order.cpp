#include "gridmodel/sibling_order.h"

#include "portkit/ustring8.h"

#include <boost/unordered/unordered_flat_map.hpp>
#include <tbb/parallel_sort.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <string>

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

} // namespace

std::vector<std::uint32_t> SiblingOrder::sorted(bool descending) {
    std::vector<Key> order = keys();
    const auto before = [descending](const Key& a, const Key& b) {
        return descending ? b.order < a.order : a.order < b.order;
    };
    if (order.size() < parallel_from)
        std::sort(order.begin(), order.end(), before);
    else // The caller waits with the model locked: it must not pick up other work meanwhile.
        tbb::this_task_arena::isolate([&] { tbb::parallel_sort(order.begin(), order.end(), before); });
    std::vector<std::uint32_t> indexes(order.size());
    std::transform(order.begin(), order.end(), indexes.begin(), [](const Key& key) { return key.index; });
    return indexes;
}

std::vector<SiblingOrder::Key> SiblingOrder::keys() const {
    const auto any = [this](auto test) { return std::any_of(m_values.begin(), m_values.end(), test); };
    if (any([](const bk2::variant_t& value) { return value.is_narrow_text() || value.is_wide_text(); }))
        return textKeys();
    return any([](const bk2::variant_t& value) { return !isExactAsDouble(value); }) ? wideNumberKeys()
                                                                                    : numberKeys();
}

std::vector<SiblingOrder::Key> SiblingOrder::numberKeys() const {
    std::vector<Key> result(m_values.size());
    for (std::uint32_t i = 0; i < m_values.size(); ++i) {
        const bk2::variant_t& value = m_values[i];
        result[i] = {value.is_numeric() ? orderOf(value.get<double>()) : unknown_order, i};
    }
    return result;
}

std::vector<SiblingOrder::Key> SiblingOrder::wideNumberKeys() const {
    std::vector<long double> distinct;
    for (const bk2::variant_t& value : m_values)
        if (value.is_numeric() && !std::isnan(wideNumber(value))) distinct.push_back(wideNumber(value));
    std::sort(distinct.begin(), distinct.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    std::vector<Key> result(m_values.size());
    for (std::uint32_t i = 0; i < m_values.size(); ++i) {
        result[i] = {unknown_order, i};
        if (!m_values[i].is_numeric()) continue;
        const long double number = wideNumber(m_values[i]);
        const auto rank = std::lower_bound(distinct.begin(), distinct.end(), number) - distinct.begin();
        result[i].order =
            std::isnan(number) ? not_a_number_order : first_order + static_cast<std::uint64_t>(rank);
    }
    return result;
}

std::vector<SiblingOrder::Key> SiblingOrder::textKeys() const {
    // Equal texts mostly share their characters, so most look-ups compare no more than an address.
    boost::unordered_flat_map<const char*, std::uint32_t> byAddress;
    boost::unordered_flat_map<std::string, std::uint32_t> byText;
    std::vector<std::string> folded;
    const auto idOf = [&](const bk2::variant_t& value) {
        const char* address = value.is_narrow_text() ? value.text().data() : nullptr;
        if (const auto known = address ? byAddress.find(address) : byAddress.end(); known != byAddress.end())
            return known->second;
        std::string text = portkit2::lower_case(bk2::get_value_string(value));
        const auto [place, added] = byText.try_emplace(text, static_cast<std::uint32_t>(folded.size()));
        if (added) folded.push_back(std::move(text));
        if (address) byAddress.emplace(address, place->second);
        return place->second;
    };
    std::vector<Key> result(m_values.size());
    for (std::uint32_t i = 0; i < m_values.size(); ++i)
        result[i] = {m_values[i].is_null() ? unknown_order : first_order + idOf(m_values[i]), i};

    std::vector<std::uint32_t> byRank(folded.size());
    for (std::uint32_t id = 0; id < byRank.size(); ++id)
        byRank[id] = id;
    std::sort(byRank.begin(), byRank.end(), [&](auto a, auto b) { return folded[a] < folded[b]; });
    std::vector<std::uint64_t> rankOf(folded.size());
    for (std::uint32_t rank = 0; rank < byRank.size(); ++rank)
        rankOf[byRank[rank]] = rank;
    for (Key& key : result)
        if (key.order != unknown_order) key.order = first_order + rankOf[key.order - first_order];
    return result;
}

} // namespace panedeck
