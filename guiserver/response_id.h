#pragma once

#include "frame.h"

#include <optional>
#include <string_view>

namespace panedeck::guiserver {

/// Where the request id stands at the front of a response frame.
struct ResponseId {
    enum class Form { xml, json };
    Form form;
    std::string_view id; ///< as it stands in the frame; ids of the relay need no escaping in either form
    std::size_t end;     ///< position behind the id and what encloses it
};

/// Looks at the first bytes only: in a response the id comes first, in both forms. Nothing for any other
/// frame, and for a response without an id.
std::optional<ResponseId> find_response_id(std::string_view frame);

/// The same response under the id that the asker gave.
OutgoingText with_response_id(const frame_body_t& frame, const ResponseId& found, std::string_view id);

/// A response of type "error" in the form in which the library writes it; without an id if that is not known.
std::string error_response(const std::optional<std::string>& id, std::string_view text);

} // namespace panedeck::guiserver
