#pragma once

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/streambuf.hpp>
#include <boost/asio/write.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace panedeck::tests {

/// Far beyond what any step takes: a test that waits for so long has failed.
inline constexpr std::chrono::seconds patience{60};

/// One end of a connection, accepted or made by a test. Every wait ends with an exception after `patience`.
class LoopbackConnection {
    auto completion() {
        return [this](const boost::system::error_code& error, std::size_t size) {
            m_error = error;
            m_size = size;
        };
    }

public:
    LoopbackConnection() : m_socket(m_io) {}

    boost::asio::ip::tcp::socket& socket() { return m_socket; }

    void send(std::string_view bytes) {
        boost::asio::async_write(m_socket, boost::asio::buffer(bytes), completion());
        run();
        if (m_error) throw std::runtime_error("send: " + m_error.message());
    }

    void close() { m_socket.close(); }

    /// The next frame without its terminator.
    std::string read_frame() {
        std::string frame = read_until("\x0B");
        frame.pop_back();
        return frame;
    }

    /// Reads up to `end` and gives all of it, `end` included.
    std::string read_until(std::string_view end) {
        boost::asio::async_read_until(m_socket, m_input, end, completion());
        run();
        if (m_error) throw std::runtime_error("read: " + m_error.message());
        return take(m_size);
    }

    std::string read_exactly(std::size_t size) {
        if (m_input.size() < size) {
            boost::asio::async_read(m_socket, m_input, boost::asio::transfer_exactly(size - m_input.size()),
                                    completion());
            run();
            if (m_error) throw std::runtime_error("read: " + m_error.message());
        }
        return take(size);
    }

    /// Reads until the peer closes; gives what came.
    std::string read_to_end() {
        boost::asio::async_read(m_socket, m_input, completion());
        run();
        return take(m_input.size());
    }

private:
    std::string take(std::size_t size) {
        std::string text(static_cast<const char*>(m_input.data().data()), size);
        m_input.consume(size);
        return text;
    }

    void run() {
        m_io.restart();
        m_io.run_for(patience);
        if (!m_io.stopped()) throw std::runtime_error("the peer did not do what was waited for");
    }

    boost::asio::io_context m_io;
    boost::asio::ip::tcp::socket m_socket;
    boost::asio::streambuf m_input;
    boost::system::error_code m_error;
    std::size_t m_size = 0;
};

/// Listens on a loopback port.
class LoopbackServer {
public:
    explicit LoopbackServer(unsigned short port = 0)
        : m_acceptor(m_io, {boost::asio::ip::address_v4::loopback(), port}) {}

    unsigned short port() const { return m_acceptor.local_endpoint().port(); }

    std::unique_ptr<LoopbackConnection> accept() {
        auto connection = std::make_unique<LoopbackConnection>();
        std::optional<boost::system::error_code> result;
        m_acceptor.async_accept(connection->socket(),
                                [&](const boost::system::error_code& error) { result = error; });
        m_io.restart();
        m_io.run_for(patience);
        if (!result || *result) throw std::runtime_error("nobody connected");
        connection->socket().set_option(boost::asio::ip::tcp::no_delay(true));
        return connection;
    }

private:
    boost::asio::io_context m_io;
    boost::asio::ip::tcp::acceptor m_acceptor;
};

} // namespace panedeck::tests
