#pragma once

// The XML form of a bag: frames, stored files, configuration.

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/variant_bag.h"
#include "portkit/ustring8.h"

namespace bk2 {

/// Writes `bag` as XML into `out`, which is replaced. `path` names the nested elements around it,
/// dot-separated: `msg.response` gives `<msg><response>…</response></msg>`. Values come first, then children,
/// each in bag order. Cannot fail: what XML cannot carry becomes U+FFFD, an object reference is logged and
/// written as null. The form is documented in docs/protocol.md.
PANEDECK_API error_code_t save_variant_bag_to_string2(const variant_bag_t& bag, ustring8& out,
                                                      const char* path);

/// The length of what `save_variant_bag_to_string2` writes, at about half its cost.
PANEDECK_API std::size_t get_xml_size(const variant_bag_t& bag, const char* path);

/// Reads XML into `bag`, which is replaced. `path` names the elements that must stand around the content, the
/// first one being the document's root. On failure `bag` is empty and the message says what was wrong and on
/// which line: no XML, a document type declaration, an external reference, nesting deeper than 512, text that
/// is not UTF-8, a value that does not fit its kind, another root than `path` says.
PANEDECK_API error_code_t load_variant_bag_from_string2(variant_bag_t& bag, const ustring8& text,
                                                        const char* path);

} // namespace bk2
