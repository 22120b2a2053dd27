#pragma once

// Needed by the programs, which write names from profiles and requests to terminals.

#include "basekit/api.h"
#include "portkit/ustring8.h"

#include <string_view>

namespace portkit2 {

enum class line_breaks_t {
    escaped, ///< for a name inside a line
    kept,    ///< for a text of several lines; tabs are kept with them
};

/// `text` as it can be written to a terminal: whatever could drive the terminal, reorder what stands around
/// it or begin a line of its own is shown as an escape, `\x1b` or `\u202e`. These are control characters (C0,
/// DEL and C1), the bidirectional controls, the line and paragraph separators, and bytes that are no UTF-8.
/// All else, a backslash too, comes back as it is.
PANEDECK_API ustring8 terminal_text(std::string_view text,
                                    line_breaks_t line_breaks = line_breaks_t::escaped);

} // namespace portkit2
