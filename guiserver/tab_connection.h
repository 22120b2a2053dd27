#pragma once

#include "connection_slots.h"
#include "relay.h"

#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>

#include <string>

namespace panedeck::guiserver {

/// Takes over a connection whose request asks for a WebSocket and was found entitled to it, and serves it as
/// a tab until it ends, beginning with an answer that sets `cookie`. The connection keeps itself alive;
/// `relay` outlives the stream's execution context.
void serve_tab(boost::beast::tcp_stream stream,
               boost::beast::http::request<boost::beast::http::empty_body> request, Relay& relay,
               ConnectionSlots::slot_t slot, const std::string& cookie);

} // namespace panedeck::guiserver
