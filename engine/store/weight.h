#pragma once

#include "basekit/variant.h"

#include <cstdint>
#include <variant>
#include <vector>

namespace panedeck::engine {

/// The numbers of one metric, one per sample or per stack node: integers, which sum exactly, or fractions.
using WeightVector = std::variant<std::vector<std::int64_t>, std::vector<double>>;

/// One number of a metric; which member is in use is the metric's `is_integer`.
union Weight {
    std::int64_t integer;
    double decimal;
};

inline bk2::variant_t toVariant(Weight weight, bool is_integer) {
    return is_integer ? bk2::variant_t(weight.integer) : bk2::variant_t(weight.decimal);
}

inline double toDouble(Weight weight, bool is_integer) {
    return is_integer ? static_cast<double>(weight.integer) : weight.decimal;
}

inline bool isZero(Weight weight, bool is_integer) {
    return is_integer ? weight.integer == 0 : weight.decimal == 0;
}

inline void add(Weight& sum, Weight weight, bool is_integer) {
    if (is_integer)
        sum.integer += weight.integer;
    else
        sum.decimal += weight.decimal;
}

/// -1, 0 or 1 as a is less than, equal to or greater than b.
inline int compare(Weight a, Weight b, bool is_integer) {
    if (is_integer) return a.integer < b.integer ? -1 : a.integer > b.integer;
    return a.decimal < b.decimal ? -1 : a.decimal > b.decimal;
}

inline Weight weightAt(const WeightVector& weights, std::size_t position) {
    Weight weight;
    if (const auto* integers = std::get_if<std::vector<std::int64_t>>(&weights))
        weight.integer = (*integers)[position];
    else
        weight.decimal = std::get<std::vector<double>>(weights)[position];
    return weight;
}

inline WeightVector zeroWeights(std::size_t count, bool is_integer) {
    if (is_integer) return std::vector<std::int64_t>(count);
    return std::vector<double>(count);
}

/// No weight, whichever member is read.
inline Weight zeroWeight() {
    return Weight{.integer = 0};
}

} // namespace panedeck::engine
