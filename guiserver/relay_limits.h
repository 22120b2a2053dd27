#pragma once

#include <chrono>
#include <cstddef>

namespace panedeck::guiserver {

/// How much and for how long connections may take up the relay.
struct RelayLimits {
    std::size_t http_connections = 256;
    std::size_t library_connections = 8;
    std::size_t tabs = 64;
    /// For the whole first request of a browser, or the handshake of a library.
    std::chrono::milliseconds stranger_patience = std::chrono::seconds(5);
    /// For the next request on a connection whose first one was granted, and for each piece of an answer.
    std::chrono::milliseconds patience = std::chrono::seconds(30);
};

} // namespace panedeck::guiserver
