#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace panedeck::host {

/// Where the GUI server listens.
struct server_address_t {
    std::string host; ///< numeric IPv4 or IPv6 address, with an optional scope, without brackets
    unsigned short port = 0;
};

/// Reads `ADDRESS:PORT` or `[IPV6-ADDRESS]:PORT`, with a port from 1 to 65535. Empty for anything else, names
/// to be resolved included: the socket client throws for a text that is no numeric address.
std::optional<server_address_t> parseServerAddress(std::string_view text);

} // namespace panedeck::host
