#pragma once

#include "access_rules.h"
#include "connection_slots.h"
#include "http_session.h"
#include "relay.h"
#include "relay_options.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

#include <filesystem>
#include <functional>
#include <string>

namespace panedeck::guiserver {

/// The relay with its two listening sockets, on one thread.
class RelayServer {
public:
    /// Listens. Throws `std::runtime_error` with a line for the user if an address cannot be had or the web
    /// folder is not there.
    explicit RelayServer(const RelayOptions& options);

    /// ADDRESS:PORT for the library.
    std::string library_address() const;
    /// What the user opens.
    std::string url() const;

    /// Serves until `stop`, SIGTERM or SIGINT; these two signals are held back from the construction on.
    void run();
    /// Ends `run` soon. From any thread.
    void stop() { m_io.stop(); }

private:
    using acceptor_t = boost::asio::ip::tcp::acceptor;
    using serve_t = std::function<void(boost::asio::ip::tcp::socket, ConnectionSlots::slot_t)>;
    struct Listener {
        Listener(boost::asio::io_context& io, const boost::asio::ip::tcp::endpoint& endpoint,
                 std::size_t limit);
        acceptor_t acceptor;
        boost::asio::steady_timer pause;
        ConnectionSlots slots;
        serve_t serve;
    };

    void accept(Listener& listener);
    void run_guarded();

    const std::filesystem::path m_web_root;
    Relay m_relay;
    boost::asio::io_context m_io; ///< goes before the relay: connections refer to it
    boost::asio::signal_set m_signals;
    Listener m_http;
    Listener m_library;
    const AccessRules m_rules;
    ConnectionSlots m_tab_slots;
    const HttpService m_http_service;
};

} // namespace panedeck::guiserver
