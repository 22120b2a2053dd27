#include "pane_client.h"

#include "pane_frames.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket.hpp>

namespace panedeck::cli {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
using std::chrono::steady_clock;

constexpr std::chrono::milliseconds wait_grain{100};
constexpr std::size_t largest_message = std::size_t{128} << 20;

} // namespace

/// The WebSocket itself. Operations are asynchronous inside, so that a wait can be given up.
class PaneClient::Socket {
public:
    explicit Socket(std::function<bk2::error_code_t()> interrupted) : m_interrupted(std::move(interrupted)) {}

    void set_deadline(steady_clock::time_point deadline) { m_deadline = deadline; }

    bk2::error_code_t connect(const std::string& host, const std::string& port, const std::string& token) {
        beast::error_code error;
        const asio::ip::tcp::endpoint endpoint(asio::ip::make_address(host, error),
                                               static_cast<unsigned short>(std::stoul(port)));
        if (error) return failure("connecting", error);
        const auto connected = finish(
            "connecting", [&](auto done) { m_stream.next_layer().async_connect(endpoint, std::move(done)); });
        if (connected.failed()) return connected;
        const std::string authority = host + ":" + port;
        m_stream.set_option(beast::websocket::stream_base::decorator(
            [authority](auto& request) { request.set(beast::http::field::origin, "http://" + authority); }));
        m_stream.read_message_max(largest_message);
        return finish("opening the page's socket", [&](auto done) {
            m_stream.async_handshake(authority, std::string(socket_path) + token, std::move(done));
        });
    }

    bk2::error_code_t send(const std::string& text) {
        m_stream.text(true);
        return finish("sending", [&](auto done) {
            m_stream.async_write(asio::buffer(text), [done](const beast::error_code& error,
                                                            std::size_t) mutable { done(error); });
        });
    }

    bk2::error_code_t receive(std::string& text) {
        m_buffer.clear();
        const auto received = finish("reading", [&](auto done) {
            m_stream.async_read(m_buffer,
                                [done](const beast::error_code& error, std::size_t) mutable { done(error); });
        });
        if (received.succeeded()) text = beast::buffers_to_string(m_buffer.data());
        return received;
    }

private:
    static constexpr char socket_path[] = "/ws?token=";

    static bk2::error_code_t failure(const std::string& doing, const beast::error_code& error) {
        return bk2::error_code_t::failure("the relay: " + doing + ": " + error.message());
    }

    /// Starts an operation and runs it to its end, unless the wait is given up. After a failure the socket is
    /// of no further use.
    template <class Start>
    bk2::error_code_t finish(const std::string& doing, Start start) {
        beast::error_code outcome;
        bool is_done = false;
        start([&](const beast::error_code& error) {
            outcome = error;
            is_done = true;
        });
        bk2::error_code_t stopped;
        while (!is_done) {
            m_io.restart();
            m_io.run_one_for(wait_grain);
            if (is_done || stopped.failed()) continue;
            stopped = m_interrupted();
            if (stopped.succeeded() && steady_clock::now() >= m_deadline) {
                stopped = bk2::error_code_t::failure("no answer in time");
            }
            // The operation refers to this frame: it must end before this function does.
            if (stopped.failed()) m_stream.next_layer().close();
        }
        if (stopped.failed()) return stopped;
        return outcome ? failure(doing, outcome) : bk2::error_code_t::success();
    }

    std::function<bk2::error_code_t()> m_interrupted;
    steady_clock::time_point m_deadline = steady_clock::time_point::max();
    asio::io_context m_io{1};
    beast::websocket::stream<asio::ip::tcp::socket> m_stream{m_io};
    beast::flat_buffer m_buffer;
};

PaneClient::PaneClient(std::function<bk2::error_code_t()> interrupted)
    : m_socket(std::make_unique<Socket>(std::move(interrupted))) {}

PaneClient::~PaneClient() = default;

void PaneClient::set_patience(std::chrono::seconds patience) {
    m_socket->set_deadline(steady_clock::now() + patience);
}

bk2::error_code_t PaneClient::connect(const std::string& host, const std::string& port,
                                      const std::string& token) {
    return m_socket->connect(host, port, token);
}

bk2::error_code_t PaneClient::receive(bk2::variant_bag_t& message) {
    std::string text;
    const auto received = m_socket->receive(text);
    return received.failed() ? received : read_pane_frame(text, message);
}

bk2::error_code_t PaneClient::wait_for_library() {
    for (;;) {
        bk2::variant_bag_t message;
        if (const auto received = receive(message); received.failed()) return received;
        if (event_name(message) == "relay:libraryConnected") return bk2::error_code_t::success();
    }
}

bk2::error_code_t PaneClient::request(const std::string& type, const bk2::variant_bag_t& parameters,
                                      bk2::variant_bag_t& answer) {
    const std::string id = std::to_string(++m_last_id);
    if (const auto sent = m_socket->send(write_request_frame(id, type, parameters)); sent.failed())
        return sent;
    for (;;) {
        bk2::variant_bag_t message;
        if (const auto received = receive(message); received.failed()) return received;
        if (event_name(message) == "relay:libraryLost") {
            return bk2::error_code_t::failure("the host lost its connection");
        }
        if (response_id(message) == id) return take_answer(message, answer);
    }
}

} // namespace panedeck::cli
