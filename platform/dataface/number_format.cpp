#include "dataface/number_format.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

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

std::string group_thousands(const std::string& number) {
    const std::size_t begin = number.starts_with('-') ? 1 : 0;
    const std::size_t end = std::min(number.find('.'), number.size());
    std::string grouped = number.substr(0, begin);
    for (std::size_t i = begin; i < end; ++i) {
        if (i > begin && (end - i) % 3 == 0) grouped += ',';
        grouped += number[i];
    }
    return grouped + number.substr(end);
}

std::string with_unit(double value, const unit_t& unit) {
    return fmt::format("{} {}", group_thousands(fmt::format("{:.{}f}", value / unit.size, unit.decimals)),
                       unit.name);
}

std::string without_trailing_zeros(std::string text) {
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
    return text == "-0" ? "0" : text;
}

// Where three decimals say something of the value and its digits are not noise.
bool is_plain(double value) {
    const double size = std::fabs(value);
    return size == 0 || (size >= 1e-3 && size < 1e15);
}

} // namespace

std::string time_text(double seconds, double greatest) {
    if (!std::isfinite(seconds)) return fmt::format("{}", seconds);
    if (greatest == 0) return "0 s";
    return with_unit(seconds, suitable_unit(time_units, greatest));
}

std::string bytes_text(double bytes, double greatest) {
    if (!std::isfinite(bytes)) return fmt::format("{}", bytes);
    return with_unit(bytes, suitable_unit(byte_units, greatest));
}

std::string number_text(const bk2::variant_t& value) {
    if (!value.is_numeric() || value.is_integer()) return bk2::get_value_string(value);
    const double number = value.get<double>();
    if (!is_plain(number)) return fmt::format("{:.6g}", number);
    return without_trailing_zeros(fmt::format("{:.3f}", number));
}

std::string count_text(const bk2::variant_t& value) {
    const bool groups = value.is_integer() ? value.tag() != bk2::vt_bool : is_plain(value.get<double>());
    return groups ? group_thousands(number_text(value)) : number_text(value);
}

std::string hexadecimal_text(const bk2::variant_t& value) {
    if (!value.is_integer()) return number_text(value);
    return fmt::format("{:#x}", value.get<bk2::u64_t>());
}

std::string percent_text(double part, double whole) {
    return fmt::format("{:.1f}%", whole == 0 ? 0.0 : part / whole * 100);
}

} // namespace dataface1
