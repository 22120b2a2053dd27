#pragma once

#include <cstdint>
#include <string_view>

namespace panedeck::engine {

/// A sample's weight: an integer from 0 to 2^63-1, or a decimal number from 0 up to that if it has a
/// fraction.
struct SampleWeight {
    bool is_integer = true;
    std::int64_t integer = 1;
    double decimal = 0;

    static SampleWeight of(std::int64_t value) { return {true, value, 0}; }
    static SampleWeight of(double value);

    double as_decimal() const { return is_integer ? static_cast<double>(integer) : decimal; }
};

enum class WeightStatus { ok, not_a_number, negative, too_large };

/// Reads `12`, `12.5`, `.5` or `12.`; exponents, signs but `-` and anything else are no number. A fraction of
/// zeros leaves an integer.
WeightStatus parseWeight(std::string_view word, SampleWeight& weight);

} // namespace panedeck::engine
