#include "import/sample_weight.h"

#include <charconv>
#include <cmath>

namespace panedeck::engine {

namespace {

constexpr double too_large = 9223372036854775808.0;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::size_t countDigits(std::string_view text) {
    std::size_t count = 0;
    while (count < text.size() && isDigit(text[count]))
        ++count;
    return count;
}

WeightStatus parseInteger(std::string_view digits, SampleWeight& weight) {
    std::int64_t value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (result.ec == std::errc::result_out_of_range) return WeightStatus::too_large;
    weight = SampleWeight::of(value);
    return WeightStatus::ok;
}

WeightStatus parseDecimal(std::string_view text, SampleWeight& weight) {
    double value = 0;
    const auto result =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    // A number too small to be told from 0 is out of range as well; its integer part tells the two apart.
    if (result.ec == std::errc::result_out_of_range)
        value = text.find_first_of("123456789") < text.find('.') ? too_large : 0;
    if (value >= too_large) return WeightStatus::too_large;
    weight = {false, 0, value};
    return WeightStatus::ok;
}

} // namespace

SampleWeight SampleWeight::of(double value) {
    if (value == std::floor(value) && std::abs(value) < too_large)
        return of(static_cast<std::int64_t>(value));
    return {false, 0, value};
}

WeightStatus parseWeight(std::string_view word, SampleWeight& weight) {
    const bool negative = word.starts_with('-');
    if (negative) word.remove_prefix(1);
    const std::size_t whole = countDigits(word);
    const bool has_point = whole < word.size() && word[whole] == '.';
    const std::string_view fraction = has_point ? word.substr(whole + 1) : std::string_view();
    if (whole + has_point + fraction.size() != word.size() || countDigits(fraction) != fraction.size() ||
        whole + fraction.size() == 0)
        return WeightStatus::not_a_number;
    if (negative) return WeightStatus::negative;
    if (fraction.find_first_not_of('0') != std::string_view::npos) return parseDecimal(word, weight);
    return whole == 0 ? parseInteger("0", weight) : parseInteger(word.substr(0, whole), weight);
}

} // namespace panedeck::engine
