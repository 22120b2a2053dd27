#pragma once

#include "basekit/error_code.h"
#include "basekit/variant_bag.h"

#include <optional>
#include <string>
#include <string_view>

namespace panedeck::guiserver {

/// A checked message of a tab.
struct TabMessage {
    enum class Kind { request, event };
    Kind kind = Kind::request;
    std::string id;             ///< a request's id, in the asker's own words
    std::string name;           ///< an event's name
    bk2::variant_bag_t content; ///< the whole `request` or `event`

    /// The message as the library reads it; ends in "</msg>" and holds no other one. Takes the content.
    std::string write();
};

/// Reads one message of a tab, `<msg><request>…</request></msg>` or `<msg><event>…</event></msg>`. A failure
/// carries the text for the tab; `id` is set as soon as a request's id is known, also in a failure.
bk2::error_code_t read_tab_message(const std::string& text, TabMessage& message,
                                   std::optional<std::string>& id);

} // namespace panedeck::guiserver
