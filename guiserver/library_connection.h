#pragma once

#include "access_rules.h"
#include "connection_slots.h"
#include "relay.h"
#include "relay_limits.h"

#include <boost/asio/ip/tcp.hpp>

namespace panedeck::guiserver {

/// Serves one TCP connection of a library until it ends: checks its handshake, then passes frames both ways.
/// The connection keeps itself alive; `rules`, `relay` and `limits` outlive the socket's execution context.
void serve_library(boost::asio::ip::tcp::socket socket, const AccessRules& rules, Relay& relay,
                   const RelayLimits& limits, ConnectionSlots::slot_t slot);

} // namespace panedeck::guiserver
