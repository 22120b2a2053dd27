#pragma once

#include "basekit/error_code.h"
#include "basekit/variant_bag.h"

#include <string>
#include <string_view>

namespace panedeck::cli {

/// The frame of a request: its parameters stand beside `id` and `type`.
std::string write_request_frame(const std::string& id, const std::string& type,
                                const bk2::variant_bag_t& parameters);

/// Reads a frame of the library, JSON or XML: the first byte tells. `message` gets the child `response` or
/// `event`.
bk2::error_code_t read_pane_frame(const std::string& text, bk2::variant_bag_t& message);

/// The name of the event that the message is, empty if it is none.
std::string_view event_name(const bk2::variant_bag_t& message);

/// The id of the request that the message answers, empty if it answers none.
std::string_view response_id(const bk2::variant_bag_t& message);

/// Takes the payload out of a response; a failure with its text if the request failed or was cancelled.
bk2::error_code_t take_answer(bk2::variant_bag_t& message, bk2::variant_bag_t& answer);

} // namespace panedeck::cli
