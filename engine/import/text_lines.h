#pragma once

#include <string_view>

namespace panedeck::engine {

inline constexpr std::string_view blanks = " \t";

inline bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

inline std::string_view trimmedRight(std::string_view text) {
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

inline std::string_view trimmedLeft(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    return text;
}

/// Without the blanks and tabs at both ends.
inline std::string_view trimmed(std::string_view text) {
    return trimmedLeft(trimmedRight(text));
}

/// Takes the first line off `text`, without its end. A line that `text` cuts off is taken if `is_complete`,
/// else it ends the walk.
inline bool takeLine(std::string_view& text, bool is_complete, std::string_view& line) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos && (!is_complete || text.empty())) return false;
    line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return true;
}

} // namespace panedeck::engine
