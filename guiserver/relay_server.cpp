#include "relay_server.h"

#include "library_connection.h"
#include "logkit/component_logger.h"
#include "portkit/percent_encode.h"

#include <boost/system/system_error.hpp>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <utility>

namespace panedeck::guiserver {

namespace {

namespace fs = std::filesystem;
using boost_error = boost::system::error_code;
using tcp = boost::asio::ip::tcp;

/// When accepting fails, no descriptor is left as a rule: it helps to wait a little.
constexpr auto pause_after_failed_accept = std::chrono::milliseconds(100);
constexpr auto sweep_interval = std::chrono::minutes(1);

fs::path require_folder(const fs::path& folder) {
    std::error_code error;
    const fs::path root = fs::canonical(folder, error);
    if (error)
        throw std::runtime_error("cannot open the web folder " + folder.string() + ": " + error.message());
    if (!fs::is_directory(root)) throw std::runtime_error(folder.string() + " is no folder");
    return root;
}

settingshub2::PrivateFolder open_exports(const std::string& path) {
    settingshub2::PrivateFolder folder;
    if (path.empty()) return folder;
    const auto opened = folder.open(path);
    if (opened.failed()) throw std::runtime_error(std::string(opened.message()));
    return folder;
}

tcp::acceptor listen(boost::asio::io_context& io, const tcp::endpoint& endpoint) {
    try {
        return tcp::acceptor(io, endpoint);
    } catch (const boost::system::system_error& error) {
        throw std::runtime_error("cannot listen on " + endpoint_text(endpoint) + ": " +
                                 error.code().message());
    }
}

} // namespace

RelayServer::Listener::Listener(boost::asio::io_context& io, const tcp::endpoint& endpoint, std::size_t limit)
    : acceptor(listen(io, endpoint)), pause(io), slots(limit) {}

RelayServer::RelayServer(const RelayOptions& options, const RelayLimits& limits)
    : m_limits(limits), m_web_root(require_folder(options.web)),
      m_downloads(open_exports(options.export_directory)), m_io(1), m_signals(m_io, SIGTERM, SIGINT),
      m_http(m_io, options.http, limits.http_connections),
      m_library(m_io, options.library, limits.library_connections),
      m_rules(options.token, m_http.acceptor.local_endpoint().port(), options.allow_remote),
      m_tab_slots(limits.tabs),
      m_sweep(m_io), m_http_service{m_rules, m_web_root, m_relay, m_tab_slots, m_downloads, m_limits} {
    m_http.serve = [this](tcp::socket socket, ConnectionSlots::slot_t slot) {
        serve_http(std::move(socket), m_http_service, std::move(slot));
    };
    m_library.serve = [this](tcp::socket socket, ConnectionSlots::slot_t slot) {
        serve_library(std::move(socket), m_rules, m_relay, m_limits, std::move(slot));
    };
}

std::string RelayServer::library_address() const {
    return endpoint_text(m_library.acceptor.local_endpoint());
}

std::string RelayServer::url() const {
    return "http://" + endpoint_text(m_http.acceptor.local_endpoint()) +
           "/?token=" + portkit2::percent_encode(m_rules.token());
}

void RelayServer::run() {
    m_signals.async_wait([this](const boost_error& error, int) {
        if (!error) m_io.stop();
    });
    accept(m_http);
    accept(m_library);
    sweep_downloads();
    while (!m_io.stopped())
        run_guarded();
    m_downloads.remove_all();
}

void RelayServer::sweep_downloads() {
    m_downloads.remove_unfetched(std::chrono::system_clock::now());
    m_sweep.expires_after(sweep_interval);
    m_sweep.async_wait([this](const boost_error& error) {
        if (!error) sweep_downloads();
    });
}

/// What one connection throws (memory that ran out, say) must not end the others.
void RelayServer::run_guarded() {
    try {
        m_io.run();
    } catch (const std::exception& error) {
        logkit1::log(logkit1::level_t::error, std::string("Failure in the relay: ") + error.what());
    }
}

void RelayServer::accept(Listener& listener) {
    listener.acceptor.async_accept([this, &listener](const boost_error& error, tcp::socket socket) {
        if (error) {
            listener.pause.expires_after(pause_after_failed_accept);
            listener.pause.async_wait([this, &listener](const boost_error&) { accept(listener); });
            return;
        }
        if (auto slot = listener.slots.take())
            listener.serve(std::move(socket), std::move(slot));
        else
            logkit1::log(logkit1::level_t::warning, "Refused a connection: there are too many");
        accept(listener);
    });
}

} // namespace panedeck::guiserver
