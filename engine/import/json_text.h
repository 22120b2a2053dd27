#pragma once

#include "import/text_input.h"

#include <cstdint>
#include <string>

namespace panedeck::engine {

/// The text of a profile as a stream that the JSON reader reads. Half a surrogate pair written as an escape,
/// which scripts can have in their names, becomes U+FFFD instead of an error.
class JsonText {
public:
    using Ch = char;

    explicit JsonText(TextInput& input);

    char Peek() { return m_next != m_end || refill() ? *m_next : '\0'; }
    char Take() {
        if (m_next == m_end && !refill()) return '\0';
        if (*m_next == '\\' || m_after_backslash) passEscape();
        return *m_next++;
    }
    std::size_t Tell() const { return m_before + static_cast<std::size_t>(m_next - m_begin); }

    // Asked for by the reader's concept of a stream; only its in-place mode would call them.
    char* PutBegin() { return nullptr; }
    void Put(char) {}
    std::size_t PutEnd(char*) { return 0; }

    /// The reader has delivered a value: the limit on the length of one counts from here.
    void markValue() { m_last_value = Tell(); }

    /// Number of the line that is being read.
    std::uint64_t line();

    /// Set if the text ended for any other reason than its end.
    std::optional<ImportOutcome> stopped();

private:
    bool refill();
    void passEscape();
    void repairSurrogate();
    void look();
    void consumeRead();

    TextInput& m_input;
    char* m_begin = nullptr; ///< the part of the text in memory
    char* m_next = nullptr;
    char* m_end = nullptr;
    std::size_t m_before = 0; ///< bytes before m_begin
    std::size_t m_last_value = 0;
    bool m_after_backslash = false;
    bool m_too_long = false;
    std::size_t m_pair_end = 0; ///< offset behind the last whole surrogate pair
    std::uint64_t m_line = 1;   ///< line of m_counted
    char* m_counted = nullptr;
};

} // namespace panedeck::engine
