#include "gridmodel/row_keys.h"

#include "portkit/ustring8.h"

#include <cmath>
#include <functional>
#include <string_view>

namespace panedeck {

namespace {

std::size_t hashOfText(std::string_view text) {
    return std::hash<std::string_view>()(text);
}

/// Whole numbers that fit as the integers that they equal.
std::size_t hashOfNumber(double number) {
    const bool isInteger = std::trunc(number) == number && number >= -0x1p63 && number < 0x1p64;
    if (!isInteger) return std::hash<double>()(number);
    return number < 0 ? static_cast<std::size_t>(static_cast<bk2::s64_t>(number))
                      : static_cast<std::size_t>(static_cast<bk2::u64_t>(number));
}

} // namespace

std::size_t RowKeyHash::operator()(const bk2::variant_t& key) const {
    if (key.is_integer()) return static_cast<std::size_t>(key.get<bk2::u64_t>());
    if (key.is_numeric()) return hashOfNumber(key.get<double>());
    if (key.is_wide_text()) return hashOfText(portkit2::to_narrow(key.wide_text()));
    return key.is_narrow_text() ? hashOfText(key.text()) : hashOfText(key.bytes());
}

} // namespace panedeck
