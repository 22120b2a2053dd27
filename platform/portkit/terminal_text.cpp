#include "portkit/terminal_text.h"

#include "portkit/utf8_step.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace portkit2 {

namespace {

struct character_range_t {
    wchar_t first;
    wchar_t last;
};

// Beyond ASCII. In the order of their numbers: C1, Arabic letter mark, marks of direction, line and paragraph
// separator with embeddings and overrides, isolates.
constexpr character_range_t shown_as_escape[] = {
    {0x80, 0x9F}, {0x61C, 0x61C}, {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069},
};

bool is_escaped(wchar_t character) {
    return std::any_of(std::begin(shown_as_escape), std::end(shown_as_escape),
                       [character](const character_range_t& range) {
                           return character >= range.first && character <= range.last;
                       });
}

void append_bytes(ustring8& result, std::string_view bytes) {
    for (const char byte : bytes)
        result += fmt::format("\\x{:02x}", static_cast<unsigned char>(byte));
}

void append_ascii(ustring8& result, char byte, line_breaks_t line_breaks) {
    const bool is_control = static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
    const bool is_kept = line_breaks == line_breaks_t::kept && (byte == '\n' || byte == '\t');
    if (!is_control || is_kept)
        result += byte;
    else
        append_bytes(result, {&byte, 1});
}

void append_character(ustring8& result, std::string_view bytes) {
    const wchar_t character = to_wide(bytes).front();
    if (is_escaped(character))
        result += fmt::format("\\u{:04x}", static_cast<unsigned>(character));
    else
        result += bytes;
}

} // namespace

ustring8 terminal_text(std::string_view text, line_breaks_t line_breaks) {
    ustring8 result;
    result.reserve(text.size());
    while (!text.empty()) {
        const utf8_step_t step = utf8_step(text.data(), text.size());
        const std::string_view bytes = text.substr(0, step.length);
        if (!step.is_valid)
            append_bytes(result, bytes);
        else if (step.length == 1)
            append_ascii(result, bytes.front(), line_breaks);
        else
            append_character(result, bytes);
        text.remove_prefix(step.length);
    }
    return result;
}

} // namespace portkit2
