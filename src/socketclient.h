#pragma once

#include "basekit/ref_counted.h"
#include "frame_reader.h"
#include "portkit/ustring8.h"
#include "transport/isocket_client.h"
#include "transport/isocket_event_handler.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/io_context_strand.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/thread/thread.hpp>

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

namespace panedeck {

/// Implements `ISocketClient` over one TCP socket and one I/O thread.
///
/// All state but `m_openConnection` belongs to the I/O thread once that runs. A connection has a number from
/// the start of the attempt to make it; each outgoing frame is tagged with the number that it was sent under,
/// and is written only on that connection and behind its handshake.
class SocketClient : public bk2::ref_counted_t<SocketClient, bk2::mt_ref_count_impl_t, ISocketClient> {
public:
    /// The text of an outgoing frame must be smaller than this.
    static constexpr std::size_t MAX_MSG_SIZE = 0x6400000;

    explicit SocketClient(ISocketEventHandler* handler);
    ~SocketClient() override;

    bk2::error_code_t connectToServer(const char* hostname, unsigned short port, const char* role,
                                      bk2::variant_bag_t* params) override;
    bk2::error_code_t sendResponse(const char* requestId, const char* type,
                                   bk2::variant_bag_t* payload) override;
    bk2::error_code_t sendErrorResponse(const char* requestId, const bk2::error_code_t& error) override;
    bk2::error_code_t notifyRequestCancel(const char* requestId) override;
    bk2::error_code_t sendEvent(const char* name, const bk2::variant_bag_t* payload) override;
    bk2::error_code_t closeConnection() override;

private:
    using boost_error = boost::system::error_code;
    using connection_number_t = std::uint64_t;
    static constexpr connection_number_t no_connection = 0;

    /// A text with its terminator, shared from serialisation to the end of the write.
    using frame_t = std::shared_ptr<const ustring8>;
    struct OutgoingFrame {
        frame_t text;
        connection_number_t connection;
    };

    // Connecting.
    void run();
    void startConnect();
    void handleConnect(const boost_error& error);
    void reconnectAfterPause();
    boost_error closeSocket();
    void stopThread();

    // Incoming.
    void startRead();
    void handleRead(const boost_error& error, std::size_t size);
    void handleConnectionLost(const boost_error& error);
    void handleServerMessage(const FrameReader::Frame& frame);
    bk2::error_code_t processFrame(const FrameReader::Frame& frame, std::string& requestId);
    bk2::error_code_t processSingleMessage(const ustring8& text, std::size_t leftover,
                                           std::string& requestId);
    bk2::error_code_t processEvent(bk2::variant_bag_t& event);
    bk2::error_code_t processIncomingRequest(bk2::variant_bag_t& request, std::string& requestId);

    // Outgoing.
    bk2::error_code_t sendMsg(bk2::variant_bag_t& bag, const char* root);
    bk2::error_code_t makeFrame(bk2::variant_bag_t& bag, const char* root, frame_t& frame);
    bk2::error_code_t makeHandshake(frame_t& frame);
    void enqueueHandshake();
    void enqueueMessage(OutgoingFrame frame);
    void processOutputQueue();
    void handleWrite(const boost_error& error);
    void dropWaitingFrames();
    static void logDroppedFrames(std::size_t count);

    ISocketEventHandler* const m_eventHandler;
    std::string m_role;
    bk2::variant_bag_t m_connectParams;
    boost::asio::ip::tcp::endpoint m_endpoint;

    boost::asio::io_context m_ioService;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work;
    boost::asio::io_context::strand m_strand;
    /// One object for each connection: what is left of a write on a broken one must not go on with its
    /// successor.
    std::shared_ptr<boost::asio::ip::tcp::socket> m_socket;
    std::unique_ptr<boost::thread> m_thread; ///< null until the first `connectToServer`

    connection_number_t m_connection = no_connection; ///< the newest one, be it made or in the making
    bool m_handshaken = false;                        ///< the handshake of that connection is queued
    /// The socket's descriptor as any thread may test it: the number of the connection, 0 while the socket is
    /// closed.
    std::atomic<connection_number_t> m_openConnection{no_connection};

    std::array<char, 64 * 1024> m_chunk;
    FrameReader m_response;
    std::deque<OutgoingFrame> m_outputMessages; ///< while `m_writing` the front one is being written
    bool m_writing = false;
};

} // namespace panedeck
