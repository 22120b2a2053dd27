#pragma once

#include "access_rules.h"
#include "connection_slots.h"
#include "download_shelf.h"
#include "http_session.h"
#include "relay.h"
#include "relay_limits.h"
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
    /// Listens. Throws `std::runtime_error` with a line for the user if an address cannot be had, the web
    /// folder is not there or the folder of exports is open to others.
    explicit RelayServer(const RelayOptions& options, const RelayLimits& limits = {});

    /// ADDRESS:PORT for the library.
    std::string library_address() const;
    /// What the user opens.
    std::string url() const;

    /// Serves until `stop`, SIGTERM or SIGINT; these two signals are held back from the construction on.
    /// Exports that were not fetched go at the end.
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
    void sweep_downloads();
    void run_guarded();

    const RelayLimits m_limits;
    const std::filesystem::path m_web_root;
    Relay m_relay;
    DownloadShelf m_downloads;
    boost::asio::io_context m_io; ///< goes before what stands above: connections refer to it
    boost::asio::signal_set m_signals;
    Listener m_http;
    Listener m_library;
    const AccessRules m_rules;
    ConnectionSlots m_tab_slots;
    boost::asio::steady_timer m_sweep;
    const HttpService m_http_service;
};

} // namespace panedeck::guiserver
