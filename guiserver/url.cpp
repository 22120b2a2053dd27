#include "url.h"

#include <algorithm>
#include <charconv>

namespace panedeck::guiserver {

namespace {

/// The byte of two hexadecimal digits.
std::optional<char> parse_escape(std::string_view digits) {
    unsigned value = 0;
    const char* const end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, value, 16);
    if (digits.size() != 2 || result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return static_cast<char>(value);
}

} // namespace

std::optional<std::string> percent_decode(std::string_view text) {
    std::string result;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '%') {
            result.push_back(text[index]);
            continue;
        }
        const auto byte = parse_escape(text.substr(index + 1, 2));
        if (!byte) return std::nullopt;
        result.push_back(*byte);
        index += 2;
    }
    return result;
}

std::optional<Target> parse_target(std::string_view target) {
    if (!target.starts_with('/')) return std::nullopt;
    const std::size_t path_end = std::min(target.find('?'), target.size());
    const auto path = percent_decode(target.substr(0, path_end));
    if (!path || path->find('\0') != std::string::npos) return std::nullopt;
    return Target{*path, std::string(target.substr(std::min(path_end + 1, target.size())))};
}

std::optional<std::string> query_parameter(std::string_view query, std::string_view name) {
    while (!query.empty()) {
        const std::size_t end = std::min(query.find('&'), query.size());
        const std::string_view entry = query.substr(0, end);
        const std::size_t equals = entry.find('=');
        if (equals != std::string_view::npos && entry.substr(0, equals) == name)
            return percent_decode(entry.substr(equals + 1));
        query.remove_prefix(std::min(end + 1, query.size()));
    }
    return std::nullopt;
}

} // namespace panedeck::guiserver
