#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace panedeck::guiserver {

/// A request's target, taken apart: "/a%20b?token=x" has the path "/a b" and the query "token=x".
struct Target {
    std::string path;  ///< percent-decoded, begins with "/"
    std::string query; ///< as it was sent
};

/// Nothing if the target is no path in its plain form: "*", a whole URL, broken or zero-byte escapes.
std::optional<Target> parse_target(std::string_view target);

/// The first value of that name in a query, decoded; nothing if there is none.
std::optional<std::string> query_parameter(std::string_view query, std::string_view name);

/// Nothing if an escape is broken. A "+" stays one.
std::optional<std::string> percent_decode(std::string_view text);

} // namespace panedeck::guiserver
