#include "dataface/number_format.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace dataface1 {

namespace {

struct unit_t {
    double size;
    const char* name;
    int decimals;
};

// Greatest first; the last one takes all that is smaller.
constexpr unit_t time_units[] = {{1, "s", 3}, {1e-3, "ms", 3}, {1e-6, "µs", 3}, {1e-9, "ns", 0}};
constexpr unit_t byte_units[] = {
    {0x1p40, "TiB", 1}, {0x1p30, "GiB", 1}, {0x1p20, "MiB", 1}, {0x1p10, "KiB", 1}, {1, "B", 0}};

template <std::size_t Count>
const unit_t& suitable_unit(const unit_t (&units)[Count], double greatest) {
    for (const unit_t& unit : units)
        if (greatest >= unit.size) return unit;
    return units[Count - 1];
}

template <class... Arguments>
void append(std::string& text, fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(text), format, std::forward<Arguments>(arguments)...);
}

void append_integer(std::string& text, std::uint64_t number) {
    char digits[20];
    text.append(digits, std::to_chars(digits, std::end(digits), number).ptr);
}

/// Finds the decimal digits of `size` times the power of ten, rounded as the exact number is. False where a
/// product in doubles cannot tell: next to a tie, and for large numbers.
bool find_digits(double size, std::uint64_t power, std::uint64_t& digits) {
    // Below this limit the product is wrong by less than half of what is kept away from a tie.
    constexpr double limit = 0x1p40, margin = 0x1p-12;
    const double product = size * static_cast<double>(power);
    if (!(product < limit)) return false;
    digits = static_cast<std::uint64_t>(product);
    const double rest = product - static_cast<double>(digits);
    if (std::fabs(rest - 0.5) < margin) return false;
    digits += rest > 0.5;
    return true;
}

/// "-1234.500", as printf writes it, at the usual numbers several times as fast.
void append_fixed(std::string& text, double value, int decimals) {
    constexpr std::uint64_t powers[] = {1, 10, 100, 1000};
    const std::uint64_t power = powers[decimals];
    std::uint64_t digits = 0;
    if (!find_digits(std::fabs(value), power, digits)) return append(text, "{:.{}f}", value, decimals);
    if (std::signbit(value)) text += '-';
    append_integer(text, digits / power);
    if (decimals == 0) return;
    text += '.';
    for (std::uint64_t place = power / 10; place > 0; place /= 10)
        text += static_cast<char>('0' + digits / place % 10);
}

void group_thousands(std::string& number) {
    const std::size_t begin = number.starts_with('-') ? 1 : 0;
    for (std::size_t end = std::min(number.find('.'), number.size()); end > begin + 3;) {
        end -= 3;
        number.insert(end, 1, ',');
    }
}

void write_with_unit(std::string& text, double value, const unit_t& unit) {
    text.clear();
    append_fixed(text, value / unit.size, unit.decimals);
    group_thousands(text);
    text += ' ';
    text += unit.name;
}

void strip_trailing_zeros(std::string& text) {
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
    if (text == "-0") text = "0";
}

// Where three decimals say something of the value and its digits are not noise.
bool is_plain(double value) {
    const double size = std::fabs(value);
    return size == 0 || (size >= 1e-3 && size < 1e15);
}

void write_integer(std::string& text, const bk2::variant_t& value) {
    text.clear();
    const bool is_unsigned = value.tag() & 1u;
    const auto bits = value.get<bk2::u64_t>();
    const bool is_negative = !is_unsigned && static_cast<bk2::s64_t>(bits) < 0;
    if (is_negative) text += '-';
    append_integer(text, is_negative ? ~bits + 1 : bits);
}

} // namespace

void write_plain(std::string& text, const bk2::variant_t& value) {
    if (value.is_narrow_text())
        text.assign(value.text());
    else if (value.is_integer() && value.tag() != bk2::vt_bool)
        write_integer(text, value);
    else
        text = bk2::get_value_string(value);
}

void write_time(std::string& text, double seconds, double greatest) {
    text.clear();
    if (!std::isfinite(seconds)) return append(text, "{}", seconds);
    if (greatest == 0)
        text = "0 s";
    else
        write_with_unit(text, seconds, suitable_unit(time_units, greatest));
}

void write_bytes(std::string& text, double bytes, double greatest) {
    text.clear();
    if (!std::isfinite(bytes)) return append(text, "{}", bytes);
    write_with_unit(text, bytes, suitable_unit(byte_units, greatest));
}

void write_number(std::string& text, const bk2::variant_t& value) {
    if (!value.is_numeric() || value.is_integer()) return write_plain(text, value);
    text.clear();
    const double number = value.get<double>();
    if (!is_plain(number)) return append(text, "{:.6g}", number);
    append_fixed(text, number, 3);
    strip_trailing_zeros(text);
}

void write_count(std::string& text, const bk2::variant_t& value) {
    const bool groups = value.is_integer() ? value.tag() != bk2::vt_bool : is_plain(value.get<double>());
    write_number(text, value);
    if (groups) group_thousands(text);
}

void write_hexadecimal(std::string& text, const bk2::variant_t& value) {
    if (!value.is_integer()) return write_number(text, value);
    text.clear();
    append(text, "{:#x}", value.get<bk2::u64_t>());
}

void write_percent(std::string& text, double part, double whole) {
    text.clear();
    append_fixed(text, whole == 0 ? 0.0 : part / whole * 100, 1);
    text += '%';
}

} // namespace dataface1
