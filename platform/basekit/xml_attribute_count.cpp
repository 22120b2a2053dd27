#include "basekit/xml_attribute_count.h"

namespace bk2 {

namespace {

// Behind `end`, searched from `position` on; the text's end if it is missing.
std::size_t skip_past(std::string_view text, std::size_t position, std::string_view end) {
    const std::size_t found = text.find(end, position);
    return found == text.npos ? text.size() : found + end.size();
}

// `position` is on the `<` of a tag. Gives the place behind its `>` and counts the values in quotes.
std::size_t count_quoted_values(std::string_view text, std::size_t position, std::size_t& values) {
    values = 0;
    while ((position = text.find_first_of("\"'>", position)) != text.npos) {
        if (text[position] == '>') return position + 1;
        position = skip_past(text, position + 1, text.substr(position, 1));
        ++values;
    }
    return text.size();
}

} // namespace

std::size_t find_crowded_element(std::string_view text, std::size_t limit) {
    std::size_t position = 0;
    while ((position = text.find('<', position)) != text.npos) {
        const std::string_view rest = text.substr(position);
        if (rest.starts_with("<!--")) {
            position = skip_past(text, position + 4, "-->");
        } else if (rest.starts_with("<![CDATA[")) {
            position = skip_past(text, position, "]]>");
        } else if (rest.starts_with("<?")) {
            position = skip_past(text, position, "?>");
        } else {
            std::size_t values = 0;
            const std::size_t start = position;
            position = count_quoted_values(text, position, values);
            if (values > limit) return start;
        }
    }
    return text.npos;
}

} // namespace bk2
