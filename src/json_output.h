#pragma once

#include "portkit/ustring8.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <ostream>
#include <streambuf>
#include <string_view>

namespace panedeck {

/// The output stream that RapidJSON's writers write to: gathers bytes and hands them on in blocks, since each
/// piece costs a standard stream as much as a hundred bytes. Whoever makes one calls `finish` at the end.
class JsonOutput {
public:
    using Ch = char;

    explicit JsonOutput(std::ostream& target) : m_target(target) {}

    void Put(char byte) {
        if (m_used == m_block.size()) hand_on();
        m_block[m_used++] = byte;
    }

    /// The writers call this at the end of the root value; a document ends with `finish`.
    void Flush() {}

    void write(std::string_view text);

    /// Writes the first `size` bytes of a token. Copying all of its room takes two instructions.
    using token_t = std::array<char, 32>;
    void write_token(const token_t& token, std::size_t size) {
        if (room() < token.size()) hand_on();
        std::memcpy(m_block.data() + m_used, token.data(), token.size());
        m_used += size;
    }

    /// Writes `text` as a JSON string: quotes, backslashes and control characters escaped, broken UTF-8
    /// replaced by U+FFFD.
    void write_string(std::string_view text);

    void finish() { hand_on(); }

private:
    void hand_on();
    std::size_t room() const { return m_block.size() - m_used; }
    void write_inside_quotes(std::string_view text);
    std::size_t write_special(std::string_view text);
    void write_escape(char byte);

    std::ostream& m_target;
    std::size_t m_used = 0;
    std::array<char, 32 * 1024> m_block;
};

/// A stream buffer that appends to a text of its owner.
class TextAppender : public std::streambuf {
public:
    explicit TextAppender(ustring8& text) : m_text(text) {}

protected:
    int_type overflow(int_type byte) override;
    std::streamsize xsputn(const char* bytes, std::streamsize size) override;

private:
    ustring8& m_text;
};

} // namespace panedeck
