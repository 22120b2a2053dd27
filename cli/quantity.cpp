#include "quantity.h"

#include <fmt/format.h>

#include <cmath>
#include <span>

namespace panedeck::cli {

namespace {

struct Size {
    double factor; ///< how many of the smallest size
    const char* name;
};

constexpr Size times[] = {{1, "ns"}, {1e3, "µs"}, {1e6, "ms"}, {1e9, "s"}};
constexpr Size bytes[] = {{1, "B"}, {1024, "KiB"}, {1048576, "MiB"}, {1073741824, "GiB"}};

/// In the largest size of which there is one; whole numbers of the smallest stay whole.
std::string scaled(double value, std::span<const Size> sizes) {
    const Size* fitting = sizes.data();
    for (const Size& size : sizes)
        if (std::abs(value) >= size.factor) fitting = &size;
    const bool is_whole = fitting == sizes.data() && value == std::floor(value);
    return fmt::format("{:.{}f} {}", value / fitting->factor, is_whole ? 0 : 3, fitting->name);
}

} // namespace

std::string quantity_text(const bk2::variant_t& number, const std::string& unit) {
    if (!number.can_get<double>() || number.is_narrow_text()) return bk2::get_value_string(number);
    constexpr double nanoseconds_per_microsecond = 1000;
    const double value = number.get<double>();
    if (unit == "nanoseconds") return scaled(value, times);
    if (unit == "microseconds") return scaled(value * nanoseconds_per_microsecond, times);
    if (unit == "bytes") return scaled(value, bytes);
    return bk2::get_value_string(number);
}

} // namespace panedeck::cli
