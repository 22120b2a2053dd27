#pragma once

#include "basekit/error_code.h"
#include "basekit/variant_bag.h"
#include "portkit/ustring8.h"

#include <string_view>

namespace panedeck {

/// Whether responses of that type go out as JSON. Those of a few domains and of one single type go out as
/// XML.
bool is_json_response(std::string_view type);

/// Writes an envelope with the root `root` into `text`, without the terminator: as JSON if the bag says
/// `serializeAsJson` (its content is moved for that and lost), else as XML. The text is logged at trace
/// level, marked parameters removed.
bk2::error_code_t write_message(bk2::variant_bag_t& bag, const char* root, ustring8& text);

/// Reads an incoming frame into `bag`. The first `leftover` bytes come from connections that broke: the text
/// is read whole first, and without them if it is no message so.
bk2::error_code_t read_message(const ustring8& text, std::size_t leftover, bk2::variant_bag_t& bag);

/// Logs `text` under a heading at trace level, with its marked parameters removed. Ask `is_tracing` before
/// text is built.
void trace_message(std::string_view heading, const ustring8& text);
bool is_tracing();

} // namespace panedeck
