#include "socketclient.h"

#include "basekit/assertion.h"
#include "logkit/component_logger.h"

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/post.hpp>

#include <chrono>
#include <exception>
#include <thread>

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;

namespace {

constexpr auto reconnect_pause = std::chrono::milliseconds(200);

} // namespace

bk2::sptr_t<ISocketClient> ISocketClient::create(ISocketEventHandler* handler) {
    return bk2::make_sptr<SocketClient>(handler);
}

SocketClient::SocketClient(ISocketEventHandler* handler)
    : m_eventHandler(handler), m_ioService(1), m_work(boost::asio::make_work_guard(m_ioService)),
      m_strand(m_ioService), m_socket(std::make_shared<boost::asio::ip::tcp::socket>(m_ioService)) {}

SocketClient::~SocketClient() {
    try {
        stopThread();
        closeSocket();
    } catch (const std::exception& error) {
        logkit1::log(logkit1::level_t::error,
                     std::string("Could not stop the socket client: ") + error.what());
    }
}

error_code_t SocketClient::connectToServer(const char* hostname, unsigned short port, const char* role,
                                           variant_bag_t* params) {
    PANEDECK_REQUIRE(hostname && role, "hostname && role", bk2::kinds::is_not_valid_argument,
                     "hostname or role were not valid connecting to server");
    if (m_thread) return {};
    m_role = role;
    if (params) m_connectParams.swap(*params);
    m_thread = std::make_unique<boost::thread>([this] { run(); });
    m_endpoint = boost::asio::ip::tcp::endpoint(boost::asio::ip::make_address(hostname), port);
    startConnect();
    return {};
}

error_code_t SocketClient::closeConnection() {
    stopThread();
    return closeSocket() ? error_code_t::failure("Failed to close socket") : error_code_t();
}

void SocketClient::stopThread() {
    if (!m_thread || !m_thread->joinable()) return;
    m_ioService.stop();
    m_thread->join();
}

SocketClient::boost_error SocketClient::closeSocket() {
    m_openConnection = no_connection;
    boost_error error;
    m_socket->shutdown(boost::asio::ip::tcp::socket::shutdown_both, error); // fails if there is no connection
    m_socket->close(error);
    return error;
}

/// The I/O thread. What a handler throws (memory that ran out, say) must not end it.
void SocketClient::run() {
    for (;;) {
        try {
            m_ioService.run();
            return;
        } catch (const std::exception& error) {
            logkit1::log(logkit1::level_t::error, std::string("Failure on the I/O thread: ") + error.what());
        }
    }
}

/// Opens the socket and starts to connect it. Runs on the I/O thread, the first time on the thread of
/// `connectToServer` while the other has nothing to do yet.
void SocketClient::startConnect() {
    ++m_connection;
    m_handshaken = false;
    m_socket = std::make_shared<boost::asio::ip::tcp::socket>(m_ioService);
    boost_error error;
    m_socket->open(m_endpoint.protocol(), error);
    const auto completion = [this](const boost_error& result) { handleConnect(result); };
    if (error) return boost::asio::post(m_strand, [completion, error] { completion(error); });
    m_openConnection = m_connection;
    m_socket->async_connect(m_endpoint, boost::asio::bind_executor(m_strand, completion));
}

void SocketClient::handleConnect(const boost_error& error) {
    if (error) return reconnectAfterPause();
    boost_error ignored; // the connection works without it, only slower
    m_socket->set_option(boost::asio::ip::tcp::no_delay(true), ignored);
    enqueueHandshake();
    startRead();
    if (m_eventHandler) m_eventHandler->onConnected();
}

/// Blocks the I/O thread on purpose: there is nothing that it could read or write meanwhile.
void SocketClient::reconnectAfterPause() {
    closeSocket();
    dropWaitingFrames();
    std::this_thread::sleep_for(reconnect_pause);
    startConnect();
}

} // namespace panedeck
