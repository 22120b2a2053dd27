#pragma once

#include <string_view>

namespace panedeck {

/// The two halves of a request type `domain:operation`. Only the first ":" splits.
struct request_type_t {
    std::string_view domain;
    std::string_view operation; ///< further colons included; empty if the type has no ":"
};

/// Splits a request type, or a task name, which begins with one. The halves point into `type`.
inline request_type_t splitRequestType(std::string_view type) {
    const auto colon = type.find(':');
    if (colon == std::string_view::npos) return {type, {}};
    return {type.substr(0, colon), type.substr(colon + 1)};
}

} // namespace panedeck
