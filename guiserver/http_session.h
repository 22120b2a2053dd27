#pragma once

#include "access_rules.h"
#include "connection_slots.h"
#include "download_shelf.h"
#include "relay.h"
#include "relay_limits.h"

#include <boost/asio/ip/tcp.hpp>

#include <filesystem>

namespace panedeck::guiserver {

/// What the HTTP side serves, and to whom. Outlives the sockets' execution context.
struct HttpService {
    const AccessRules& rules;
    const std::filesystem::path& web_root; ///< canonical
    Relay& relay;
    ConnectionSlots& tab_slots;
    DownloadShelf& downloads;
    const RelayLimits& limits;
};

/// Serves one HTTP connection until it ends or becomes a tab's WebSocket; the connection keeps itself alive.
///
/// - `GET /?token=T` gives the page and the cookie with which it loads its assets; any other file of the web
///   folder needs the cookie or the token in its query.
/// - `GET /download/RANDOM/NAME` gives an export under that name, once, with the cookie or the token.
/// - `GET /ws?token=T` with the page's own origin becomes a WebSocket, and gives the cookie too, for a page
///   that an earlier relay served.
/// - All else is refused with a short plain text: 403 without the token, for another host or another origin,
///   404, 405.
void serve_http(boost::asio::ip::tcp::socket socket, const HttpService& service,
                ConnectionSlots::slot_t slot);

} // namespace panedeck::guiserver
