#include "library_connection.h"

#include "basekit/variant_bag_xml.h"
#include "frame_splitter.h"
#include "logkit/component_logger.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>

#include <array>
#include <chrono>
#include <deque>
#include <string>
#include <utility>

namespace panedeck::guiserver {

namespace {

using bk2::variant_bag_t;
using boost_error = boost::system::error_code;

constexpr std::size_t longest_frame = 0x6400000;     ///< as long as the library makes them
constexpr std::size_t longest_handshake = 64 * 1024; ///< until the token has been seen
constexpr std::size_t longest_queue = 256 * 1024 * 1024;

bool is_handshake_with_token(const std::string& frame, const AccessRules& rules) {
    variant_bag_t bag;
    if (bk2::load_variant_bag_from_string2(bag, frame, "msg").failed()) return false;
    const auto* handshake = bag.get<variant_bag_t>("handshake");
    const auto* parameters = handshake ? handshake->get<variant_bag_t>("") : nullptr;
    const auto* token = parameters ? parameters->get<bk2::variant_t>("token") : nullptr;
    return token && rules.is_token(token->text());
}

class LibraryConnection final : public ILibrary, public std::enable_shared_from_this<LibraryConnection> {
public:
    LibraryConnection(boost::asio::ip::tcp::socket socket, const AccessRules& rules, Relay& relay,
                      ConnectionSlots::slot_t slot)
        : m_socket(std::move(socket)), m_rules(rules), m_relay(relay), m_slot(std::move(slot)),
          m_timer(m_socket.get_executor()) {}

    void start(std::chrono::milliseconds handshake_patience) {
        m_slot->set_end([weak = weak_from_this()] {
            if (const auto self = weak.lock()) self->close("it made room", logkit1::level_t::info);
        });
        boost_error ignored;
        m_socket.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
        m_socket.set_option(boost::asio::socket_base::keep_alive(true), ignored);
        m_timer.expires_after(handshake_patience);
        m_timer.async_wait([self = shared_from_this()](const boost_error& error) {
            if (!error && !self->m_accepted)
                self->close("it sent no handshake in time", logkit1::level_t::info);
        });
        read();
    }

    void send(std::string text) override {
        if (m_closed) return;
        m_queued_size += text.size();
        m_queue.push_back(std::move(text));
        if (m_queued_size > longest_queue)
            return boost::asio::post(m_socket.get_executor(),
                                     [self = shared_from_this()] { self->close("it stopped reading"); });
        if (m_queue.size() == 1) write();
    }

private:
    void read() {
        m_socket.async_read_some(boost::asio::buffer(m_chunk),
                                 [self = shared_from_this()](const boost_error& error, std::size_t size) {
                                     self->handle_read(error, size);
                                 });
    }

    void handle_read(const boost_error& error, std::size_t size) {
        if (m_closed) return;
        // That a library goes is in the order of things: it was stopped.
        if (error == boost::asio::error::eof) return close(error.message(), logkit1::level_t::info);
        if (error) return close(error.message());
        m_splitter.append({m_chunk.data(), size});
        while (auto frame = m_splitter.next()) {
            handle_frame(std::move(*frame));
            if (m_closed) return;
        }
        if (m_splitter.pending_size() > (m_accepted ? longest_frame : longest_handshake))
            return close("its message is too long");
        read();
    }

    void handle_frame(std::string frame) {
        if (!m_accepted) return handle_handshake(frame);
        // A second one would only show the token to whoever reads it.
        if (frame.starts_with("<msg><handshake>")) return close("it repeated its handshake");
        m_relay.handle_library_frame(std::move(frame));
    }

    void handle_handshake(const std::string& frame) {
        if (frame.size() > longest_handshake || !is_handshake_with_token(frame, m_rules))
            return close("its first message is no handshake with the token");
        if (!m_relay.open_library(*this)) return close("another library is connected");
        m_accepted = true;
        m_slot->admit();
        m_timer.cancel();
    }

    void write() {
        boost::asio::async_write(m_socket, boost::asio::buffer(m_queue.front()),
                                 [self = shared_from_this()](const boost_error& error, std::size_t) {
                                     self->handle_write(error);
                                 });
    }

    void handle_write(const boost_error& error) {
        m_queued_size -= m_queue.front().size();
        m_queue.pop_front();
        if (m_closed) return;
        if (error) return close(error.message());
        if (!m_queue.empty()) write();
    }

    void close(const std::string& reason, logkit1::level_t level = logkit1::level_t::warning) {
        if (std::exchange(m_closed, true)) return;
        logkit1::log(level, "Connection of a library closed: " + reason);
        m_timer.cancel();
        boost_error ignored;
        m_socket.shutdown(boost::asio::ip::tcp::socket::shutdown_both, ignored);
        m_socket.close(ignored);
        m_relay.close_library(*this);
    }

    boost::asio::ip::tcp::socket m_socket;
    const AccessRules& m_rules;
    Relay& m_relay;
    ConnectionSlots::slot_t m_slot;
    boost::asio::steady_timer m_timer;
    std::array<char, 64 * 1024> m_chunk;
    FrameSplitter m_splitter;
    std::deque<std::string> m_queue; ///< the front one is being written
    std::size_t m_queued_size = 0;
    bool m_accepted = false;
    bool m_closed = false;
};

} // namespace

void serve_library(boost::asio::ip::tcp::socket socket, const AccessRules& rules, Relay& relay,
                   const RelayLimits& limits, ConnectionSlots::slot_t slot) {
    std::make_shared<LibraryConnection>(std::move(socket), rules, relay, std::move(slot))
        ->start(limits.stranger_patience);
}

} // namespace panedeck::guiserver
