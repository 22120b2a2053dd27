#include "gridmodel/request_values.h"

#include <charconv>
#include <limits>
#include <optional>
#include <utility>

namespace panedeck {

namespace {

template <class T>
T inRange(const bk2::variant_t& value, T otherwise) {
    if (value.tag() == bk2::vt_u64) {
        const auto number = value.get<bk2::u64_t>();
        return number <= static_cast<bk2::u64_t>(std::numeric_limits<T>::max()) ? static_cast<T>(number)
                                                                                : otherwise;
    }
    const auto number = value.get<bk2::s64_t>();
    return std::in_range<T>(number) ? static_cast<T>(number) : otherwise;
}

std::optional<std::uint64_t> decimal(std::string_view digits) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return number;
}

bool isNumber(const bk2::variant_t* value) {
    return value && value->is_integer() && value->tag() != bk2::vt_bool;
}

} // namespace

int integerOr(const bk2::variant_t* value, int otherwise) {
    return isNumber(value) ? inRange<int>(*value, otherwise) : otherwise;
}

bool booleanOr(const bk2::variant_t* value, bool otherwise) {
    return value && value->is_integer() ? value->get<bool>() : otherwise;
}

std::string textOr(const bk2::variant_t* value, const std::string& otherwise) {
    return value && value->is_narrow_text() ? std::string(value->text()) : otherwise;
}

std::string readText(const bk2::variant_bag_t& bag, const char* name, const std::string& otherwise) {
    return textOr(bag.get_own_value(name), otherwise);
}

int readInteger(const bk2::variant_bag_t& bag, const char* name, int otherwise) {
    return integerOr(bag.get_own_value(name), otherwise);
}

std::uint64_t rowIdOr(const bk2::variant_t* value, std::uint64_t otherwise) {
    if (isNumber(value)) return inRange<std::uint64_t>(*value, otherwise);
    return value && value->is_narrow_text() ? decimal(value->text()).value_or(otherwise) : otherwise;
}

std::uint64_t readRowId(const bk2::variant_bag_t& bag, std::uint64_t otherwise) {
    return rowIdOr(bag.get_own_value("rowId"), otherwise);
}

const bk2::variant_t* findValue(const bk2::variant_bag_t& bag, const char* name) {
    const bk2::variant_t* value = bag.get<bk2::variant_t>(name);
    return value ? value : bag.get_own_value(name);
}

} // namespace panedeck
