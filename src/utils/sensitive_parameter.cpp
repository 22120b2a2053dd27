#include "transport/sensitive_parameter.h"

#include "basekit/assertion.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace panedeck::sensitive_parameter {

namespace {

constexpr std::string_view opening_mark = "sensitive(";
constexpr std::string_view closing_mark = ")sensitive";
constexpr std::string_view replacement = "(removed from log)";

/// A marked value inside one line, as positions in that line.
struct marked_value_t {
    std::size_t begin;     ///< of the opening mark
    std::size_t end;       ///< behind the closing mark
    std::string_view text; ///< between the marks
};

std::optional<marked_value_t> find_marked_value(std::string_view line) {
    const std::size_t begin = line.find(opening_mark);
    if (begin == std::string_view::npos) return std::nullopt;
    const std::size_t text_begin = begin + opening_mark.size();
    const std::size_t text_end = line.rfind(closing_mark);
    if (text_end == std::string_view::npos || text_end < text_begin) return std::nullopt;
    return marked_value_t{begin, text_end + closing_mark.size(),
                          line.substr(text_begin, text_end - text_begin)};
}

/// Cuts the next line off `rest`, its line end included in neither.
std::string_view take_line(std::string_view& rest) {
    const std::size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end);
    return line;
}

} // namespace

std::string mark(const std::string& value) {
    return std::string(opening_mark).append(value).append(closing_mark);
}

std::string withoutMarks(const std::string& text) {
    const auto marked = find_marked_value(text);
    const bool is_whole = marked && marked->begin == 0 && marked->end == text.size();
    return is_whole ? std::string(marked->text) : text;
}

std::string decode(const std::string& text) {
    std::optional<marked_value_t> found;
    for (std::string_view rest = text; !found && !rest.empty();) {
        found = find_marked_value(take_line(rest));
        if (!rest.empty()) rest.remove_prefix(1);
    }
    PANEDECK_EXPECT(found, "found");
    return found ? std::string(found->text) : std::string();
}

ustring8 sanitizeLog(const ustring8& text) {
    if (text.find(opening_mark) == ustring8::npos) return text;
    ustring8 result;
    result.reserve(text.size());
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view line = take_line(rest);
        if (const auto marked = find_marked_value(line))
            result.append(line.substr(0, marked->begin)).append(replacement).append(line.substr(marked->end));
        else
            result.append(line);
        if (rest.empty()) break;
        result.push_back(rest.front());
        rest.remove_prefix(1);
    }
    return result;
}

} // namespace panedeck::sensitive_parameter
