#include "json_output.h"

#include "portkit/utf8_step.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace panedeck {

namespace {

constexpr std::array<bool, 256> plain_bytes = [] {
    std::array<bool, 256> plain{};
    for (std::size_t byte = 0x20; byte < 0x80; ++byte)
        plain[byte] = byte != '"' && byte != '\\';
    return plain;
}();

constexpr std::uint64_t each_byte(std::uint64_t byte) {
    return byte * 0x0101010101010101u;
}

// Whether one of eight bytes is none of the plain ones. Subtracting borrows into the high bit of each byte
// that is below the subtrahend; a byte with its high bit set is special in any case.
bool has_special(std::uint64_t bytes) {
    const std::uint64_t controls = bytes - each_byte(0x20);
    const std::uint64_t quotes = (bytes ^ each_byte('"')) - each_byte(1);
    const std::uint64_t backslashes = (bytes ^ each_byte('\\')) - each_byte(1);
    return (controls | quotes | backslashes | bytes) & each_byte(0x80);
}

// Checks and copies in one go, eight bytes at a time. Gives the number of bytes before the first that is not
// plain.
inline std::size_t copy_plain(char* target, std::string_view text) {
    std::size_t copied = 0;
    for (std::uint64_t word; copied + sizeof word <= text.size(); copied += sizeof word) {
        std::memcpy(&word, text.data() + copied, sizeof word);
        if (has_special(word)) break;
        std::memcpy(target + copied, &word, sizeof word);
    }
    for (; copied < text.size() && plain_bytes[static_cast<unsigned char>(text[copied])]; ++copied)
        target[copied] = text[copied];
    return copied;
}

} // namespace

void JsonOutput::write_escape(char byte) {
    constexpr char hex_digits[] = "0123456789ABCDEF";
    switch (byte) {
    case '"':
        return write("\\\"");
    case '\\':
        return write("\\\\");
    case '\b':
        return write("\\b");
    case '\f':
        return write("\\f");
    case '\n':
        return write("\\n");
    case '\r':
        return write("\\r");
    case '\t':
        return write("\\t");
    }
    write("\\u00");
    Put(hex_digits[byte >> 4]);
    Put(hex_digits[byte & 0xF]);
}

// Writes the first character of `text` that is not plain, and gives its length.
std::size_t JsonOutput::write_special(std::string_view text) {
    if (static_cast<unsigned char>(text[0]) < 0x80) {
        write_escape(text[0]);
        return 1;
    }
    const portkit2::utf8_step_t step = portkit2::utf8_step(text.data(), text.size());
    write(step.is_valid ? text.substr(0, step.length) : "\xEF\xBF\xBD");
    return step.length;
}

void JsonOutput::write_string(std::string_view text) {
    Put('"');
    // Nearly every text is plain and finds room for itself and the closing quote.
    if (text.size() < room()) {
        char* const target = m_block.data() + m_used;
        const std::size_t plain = copy_plain(target, text);
        m_used += plain;
        if (plain == text.size()) {
            m_block[m_used++] = '"';
            return;
        }
        text.remove_prefix(plain);
    }
    write_inside_quotes(text);
    Put('"');
}

void JsonOutput::write_inside_quotes(std::string_view text) {
    while (!text.empty()) {
        if (room() == 0) hand_on();
        const std::size_t plain = copy_plain(m_block.data() + m_used, text.substr(0, room()));
        m_used += plain;
        text.remove_prefix(plain);
        if (!text.empty() && room() > 0) text.remove_prefix(write_special(text));
    }
}

void JsonOutput::write(std::string_view text) {
    while (!text.empty()) {
        if (room() == 0) hand_on();
        const std::size_t size = std::min(text.size(), room());
        std::memcpy(m_block.data() + m_used, text.data(), size);
        m_used += size;
        text.remove_prefix(size);
    }
}

void JsonOutput::hand_on() {
    m_target.write(m_block.data(), static_cast<std::streamsize>(m_used));
    m_used = 0;
}

TextAppender::int_type TextAppender::overflow(int_type byte) {
    if (!traits_type::eq_int_type(byte, traits_type::eof())) m_text += traits_type::to_char_type(byte);
    return traits_type::not_eof(byte);
}

// A large text grows in large steps: what is reserved and never touched takes no memory, but each step
// copies.
std::streamsize TextAppender::xsputn(const char* bytes, std::streamsize size) {
    constexpr std::size_t large = 256 * 1024;
    const std::size_t needed = m_text.size() + static_cast<std::size_t>(size);
    if (needed > m_text.capacity() && needed > large) m_text.reserve(needed * 4);
    m_text.append(bytes, static_cast<std::size_t>(size));
    return size;
}

} // namespace panedeck
