#include "tab_connection.h"

#include "logkit/component_logger.h"

#include <boost/asio/post.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <array>
#include <deque>
#include <string>
#include <utility>

namespace panedeck::guiserver {

namespace {

namespace beast = boost::beast;
namespace websocket = beast::websocket;
using boost_error = boost::system::error_code;

constexpr std::size_t longest_message = 16 * 1024 * 1024;
constexpr std::size_t longest_queue = 256 * 1024 * 1024;
constexpr std::size_t kept_input_capacity = 1024 * 1024;

class TabConnection final : public ITab, public std::enable_shared_from_this<TabConnection> {
public:
    TabConnection(beast::tcp_stream stream, Relay& relay, ConnectionSlots::slot_t slot)
        : m_socket(std::move(stream)), m_relay(relay), m_slot(std::move(slot)) {}

    void start(beast::http::request<beast::http::empty_body> request, const std::string& cookie) {
        beast::get_lowest_layer(m_socket).expires_never(); // the WebSocket keeps its own time
        m_socket.set_option(websocket::stream_base::timeout::suggested(beast::role_type::server));
        m_socket.set_option(websocket::stream_base::decorator([cookie](websocket::response_type& response) {
            response.set(beast::http::field::set_cookie, cookie);
        }));
        m_socket.read_message_max(longest_message);
        m_socket.auto_fragment(false); // fragments would be cut and copied piece by piece
        m_socket.text(true);
        const auto kept = std::make_shared<decltype(request)>(std::move(request));
        m_socket.async_accept(*kept, [self = shared_from_this(), kept](const boost_error& error) {
            if (!error) self->handle_accept();
        });
    }

    void send(OutgoingText text) override {
        if (m_closed) return;
        m_queued_size += text.size();
        m_queue.push_back(std::move(text));
        if (m_queued_size > longest_queue)
            return boost::asio::post(m_socket.get_executor(),
                                     [self = shared_from_this()] { self->drop("it stopped reading"); });
        if (m_queue.size() == 1) write();
    }

private:
    void handle_accept() {
        m_relay.open_tab(*this);
        read();
    }

    void read() {
        m_socket.async_read(m_input, [self = shared_from_this()](const boost_error& error, std::size_t) {
            self->handle_read(error);
        });
    }

    void handle_read(const boost_error& error) {
        if (m_closed) return;
        if (error == websocket::error::message_too_big) return drop("its message is too long");
        if (error) return close(); // closed, reloaded, gone
        const std::string text = beast::buffers_to_string(m_input.cdata());
        m_input.consume(m_input.size());
        if (m_input.capacity() > kept_input_capacity) m_input.shrink_to_fit();
        m_relay.handle_tab_message(*this, text);
        read();
    }

    void write() {
        const OutgoingText& text = m_queue.front();
        const std::array<boost::asio::const_buffer, 2> pieces = {
            boost::asio::const_buffer(text.head().data(), text.head().size()),
            boost::asio::const_buffer(text.rest().data(), text.rest().size())};
        m_socket.async_write(pieces, [self = shared_from_this()](const boost_error& error, std::size_t) {
            self->handle_write(error);
        });
    }

    void handle_write(const boost_error& error) {
        m_queued_size -= m_queue.front().size();
        m_queue.pop_front();
        if (m_closed) return;
        if (error) return close();
        if (!m_queue.empty()) write();
    }

    void drop(const char* reason) {
        if (m_closed) return;
        logkit1::log(logkit1::level_t::warning, std::string("Dropped a browser tab: ") + reason);
        close();
    }

    void close() {
        if (std::exchange(m_closed, true)) return;
        beast::get_lowest_layer(m_socket).close();
        m_relay.close_tab(*this);
    }

    websocket::stream<beast::tcp_stream> m_socket;
    Relay& m_relay;
    ConnectionSlots::slot_t m_slot;
    beast::flat_buffer m_input;
    std::deque<OutgoingText> m_queue; ///< the front one is being written
    std::size_t m_queued_size = 0;
    bool m_closed = false;
};

} // namespace

void serve_tab(beast::tcp_stream stream, beast::http::request<beast::http::empty_body> request, Relay& relay,
               ConnectionSlots::slot_t slot, const std::string& cookie) {
    std::make_shared<TabConnection>(std::move(stream), relay, std::move(slot))
        ->start(std::move(request), cookie);
}

} // namespace panedeck::guiserver
