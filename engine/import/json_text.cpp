#include "import/json_text.h"

#include <algorithm>
#include <cstring>

namespace panedeck::engine {

namespace {

constexpr std::size_t escape_size = 6; // \uXXXX

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

enum class Surrogate { none, high, low };

// What the escape that `text` begins with is a half of.
Surrogate surrogateOf(std::string_view text) {
    if (text.size() < escape_size || text[0] != '\\' || text[1] != 'u' || (text[2] | 0x20) != 'd')
        return Surrogate::none;
    if (!isHexDigit(text[4]) || !isHexDigit(text[5])) return Surrogate::none;
    const char third = static_cast<char>(text[3] | 0x20);
    if (text[3] == '8' || text[3] == '9' || third == 'a' || third == 'b') return Surrogate::high;
    return third >= 'c' && third <= 'f' ? Surrogate::low : Surrogate::none;
}

} // namespace

JsonText::JsonText(TextInput& input) : m_input(input) {
    look();
}

void JsonText::look() {
    m_begin = m_input.mutable_ahead();
    m_next = m_begin;
    m_counted = m_begin;
    m_end = m_begin + m_input.ahead().size();
}

void JsonText::consumeRead() {
    line();
    m_before += static_cast<std::size_t>(m_next - m_begin);
    m_input.consume(static_cast<std::size_t>(m_next - m_begin));
}

bool JsonText::refill() {
    m_too_long |= Tell() - m_last_value > m_input.limits().line_bytes;
    if (m_too_long) return false;
    consumeRead();
    const bool more = m_input.fill();
    look();
    return more;
}

void JsonText::passEscape() {
    m_after_backslash = !m_after_backslash;
    if (m_after_backslash) repairSurrogate();
}

void JsonText::repairSurrogate() {
    if (m_end - m_next < static_cast<std::ptrdiff_t>(2 * escape_size)) {
        consumeRead();
        m_input.fillTo(2 * escape_size);
        look();
    }
    const std::string_view ahead(m_next, static_cast<std::size_t>(m_end - m_next));
    const Surrogate kind = surrogateOf(ahead);
    if (kind == Surrogate::none || (kind == Surrogate::low && Tell() == m_pair_end)) return;
    if (kind == Surrogate::high && surrogateOf(ahead.substr(escape_size)) == Surrogate::low)
        m_pair_end = Tell() + escape_size;
    else
        std::memcpy(m_next + 2, "FFFD", 4);
}

std::uint64_t JsonText::line() {
    m_line += static_cast<std::uint64_t>(std::count(m_counted, m_next, '\n'));
    m_counted = m_next;
    return m_line;
}

std::optional<ImportOutcome> JsonText::stopped() {
    if (m_too_long)
        return ImportOutcome::refused(line(), "a JSON value is longer than " +
                                                  std::to_string(m_input.limits().line_bytes) + " bytes");
    return m_input.stopped(line());
}

} // namespace panedeck::engine
