#pragma once

// Needed by whatever holds or checks text.

#include "basekit/api.h"

#include <string>
#include <string_view>

namespace portkit2 {

/// One byte of UTF-8 text.
using uchar_t = char;

/// UTF-8 text. Nothing guarantees that the bytes are well-formed: text from files and frames passes through
/// `repair_utf8` where that matters.
using ustring8 = std::basic_string<uchar_t>;

/// True if `text` is well-formed UTF-8 (no overlong forms, no surrogates, nothing past U+10FFFF).
PANEDECK_API bool is_valid_utf8(std::string_view text);

/// `text` with every broken sequence replaced by U+FFFD, as the Unicode Standard's chapter 3.9 recommends
/// (one replacement for each maximal part that could have begun a character). Well-formed text comes back as
/// it is.
PANEDECK_API ustring8 repair_utf8(std::string_view text);

/// How many bytes of `text` from the front are well-formed: the whole length if all of it is.
PANEDECK_API std::size_t valid_utf8_prefix(std::string_view text);

/// Wide text as UTF-8. Code units that are no character become U+FFFD.
PANEDECK_API ustring8 to_narrow(std::wstring_view text);

/// UTF-8 as wide text. Broken sequences become U+FFFD.
PANEDECK_API std::wstring to_wide(std::string_view text);

/// The text with ASCII letters lower-cased, other bytes as they are.
PANEDECK_API ustring8 lower_case(std::string_view text);

/// The same into the room that `lowered` has: for loops over many texts.
PANEDECK_API void lower_case(std::string_view text, ustring8& lowered);

} // namespace portkit2

using portkit2::ustring8;
