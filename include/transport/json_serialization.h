#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/variant_bag.h"
#include "portkit/ustring8.h"

#include <iosfwd>

namespace panedeck {

/// How JSON text is laid out. Any value but `compact` is the pretty form, indented by four blanks.
enum class JSONFormat : int { compact = 0, pretty = 1 };

/// Parses `text` into `bag`, which must be empty.
///
/// Objects and arrays become child bags, an array marked by the value `arrayOf` = "item"; scalar elements of
/// an array become children with one value under ""; a scalar at the top becomes the value under "". Any
/// depth is read without recursion. Bytes inside strings that are no UTF-8 are kept.
///
/// Failures: `IsNot.Valid.Argument` for a bag that is not empty, nothing is parsed;
/// `FailedTo.Execute.This.Operation` with the byte offset and the reason for text that is no JSON, `bag` then
/// keeps what was built so far.
PANEDECK_API bk2::error_code_t load_variant_bag_from_json_string(const ustring8& text,
                                                                 bk2::variant_bag_t& bag);

/// Writes `bag` as one JSON value to `out`, in large blocks and without recursion.
///
/// A bag with a value `arrayOf` is an array of the children of that name; one with nothing but a value under
/// "" is that value; an empty one is `null`; all others are objects, values ahead of children. 64-bit
/// integers that a double cannot carry become `{"value": "<digits>", "type": "bigInt"}`. What JSON has no
/// form for becomes `null`, bytes that are no UTF-8 become U+FFFD. Always succeeds; whether `out` took
/// everything is for its owner to ask.
PANEDECK_API bk2::error_code_t save_variant_bag_to_json_string(const bk2::variant_bag_t& bag,
                                                               std::ostream& out, JSONFormat format);

/// The same, appended to `out`: a frame's text is filled where it stands.
PANEDECK_API bk2::error_code_t save_variant_bag_to_json_string(const bk2::variant_bag_t& bag, ustring8& out,
                                                               JSONFormat format);

} // namespace panedeck
