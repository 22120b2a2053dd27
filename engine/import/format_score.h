#pragma once

#include <cstddef>
#include <string_view>

namespace panedeck::engine {

/// The first bytes of a text, and whether they are all of it.
struct TextBeginning {
    std::string_view text;
    bool is_complete = false;
};

/// How well a format fits the beginning of a text.
struct FormatScore {
    std::size_t understood = 0; ///< lines that make sense in the format
    std::size_t lines = 0;      ///< all lines but blank ones and comments

    /// A format that does not understand most of a text is not that text's format.
    bool fits() const { return understood > 0 && 2 * understood >= lines; }
    bool is_better_than(const FormatScore& other) const {
        return understood * other.lines > other.understood * lines;
    }
};

} // namespace panedeck::engine
