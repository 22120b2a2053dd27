#pragma once

#include "import/text_input.h"

namespace panedeck::engine {

/// Splits text into lines. LF and CRLF end a line; the last one may lack its end.
class LineReader {
public:
    explicit LineReader(TextInput& input) : m_input(input) {}

    /// Goes on to the next line; false if there is none or reading stopped (`TextInput::stopped` says).
    bool next();

    /// The line without its end. Valid until the next call of `next`. Empty if it is too long.
    std::string_view line() const { return m_line; }

    /// Number of the line, from 1; 0 before the first.
    std::uint64_t number() const { return m_number; }

    /// True if the line is longer than the limit and was passed over.
    bool is_too_long() const { return m_too_long; }

    /// Set if reading stopped before the end of the text.
    std::optional<ImportOutcome> stopped() const { return m_input.stopped(m_number + 1); }

private:
    bool take(std::size_t size, std::size_t with_end);
    bool passOver();

    TextInput& m_input;
    std::string_view m_line;
    std::uint64_t m_number = 0;
    bool m_too_long = false;
};

} // namespace panedeck::engine
