#pragma once

// Needed by the reader of the XML form.

#include <cstddef>
#include <string_view>

namespace bk2 {

/// The position of the first element with more than `limit` attributes, `npos` if there is none. One cheap
/// pass ahead of the parser, whose work on one element is quadratic in its attributes. Text that is no XML
/// may be misread here; the parser refuses it.
std::size_t find_crowded_element(std::string_view text, std::size_t limit);

} // namespace bk2
