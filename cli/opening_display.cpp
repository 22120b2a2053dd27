#include "opening_display.h"

#include <charconv>

namespace panedeck::cli {

void OpeningDisplay::show(std::string_view line) {
    constexpr std::string_view beginning = "opening ";
    constexpr unsigned whole = 100;
    if (!line.starts_with(beginning)) return;
    line.remove_prefix(beginning.size());
    unsigned percent = 0;
    const auto number = std::from_chars(line.data(), line.data() + line.size(), percent);
    line.remove_prefix(static_cast<std::size_t>(number.ptr - line.data()));
    if (number.ec != std::errc() || !line.starts_with(' ')) return;
    line.remove_prefix(1);
    if (line != m_text) {
        m_text = line;
        m_progress.start(m_text, whole);
    }
    m_progress.advance_to(percent);
}

} // namespace panedeck::cli
