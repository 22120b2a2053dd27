// The messages of the socket client: what comes in, and what goes out.

#include "basekit/assertion.h"
#include "basekit/variant_bag_xml.h"
#include "logkit/component_logger.h"
#include "message_format.h"
#include "socketclient.h"
#include "transport/sensitive_parameter.h"

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

#include <exception>
#include <utility>

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;

namespace {

constexpr char frame_terminator = '\x0B';

void log_failure(const char* what, const boost::system::error_code& error) {
    logkit1::log(logkit1::level_t::error, what + error.message());
}

void remove_marks(variant_bag_t& parameters) {
    for (auto value = parameters.begin<variant_t>(); !value.at_end(); value.next()) {
        variant_t& parameter = value.get_value();
        if (parameter.is_narrow_text())
            parameter = variant_t(sensitive_parameter::withoutMarks(std::string(parameter.text())));
    }
}

} // namespace

// ---- Incoming ----

void SocketClient::startRead() {
    m_socket->async_read_some(
        boost::asio::buffer(m_chunk),
        boost::asio::bind_executor(
            m_strand, [this](const boost_error& error, std::size_t size) { handleRead(error, size); }));
}

void SocketClient::handleRead(const boost_error& error, std::size_t size) {
    if (error) return handleConnectionLost(error);
    m_response.append({m_chunk.data(), size});
    while (auto frame = m_response.next())
        handleServerMessage(*frame);
    startRead();
}

void SocketClient::handleConnectionLost(const boost_error& error) {
    log_failure("Error on reading from socket: ", error);
    m_response.connection_lost();
    if (m_eventHandler) m_eventHandler->onConnectionLost();
    // Paced like a failed attempt: a server that hangs up on every handshake would else be called without a
    // pause.
    reconnectAfterPause();
}

void SocketClient::handleServerMessage(const FrameReader::Frame& frame) {
    std::string requestId;
    const error_code_t result = processFrame(frame, requestId);
    if (result.succeeded()) return;
    // Nobody is left to be told of a failure here, and the sending has logged it.
    (void)sendErrorResponse(requestId.empty() ? nullptr : requestId.c_str(), result);
}

/// The border for exceptions: a message that uses up the memory costs an answer, not the connection.
error_code_t SocketClient::processFrame(const FrameReader::Frame& frame, std::string& requestId) {
    PANEDECK_REQUIRE(frame.kind == FrameReader::Frame::Kind::complete, "frame.kind == Frame::Kind::complete",
                     bk2::kinds::is_not_valid_data, "Incoming message exceeds 128MB limit");
    try {
        if (is_tracing()) trace_message("Incoming message: ", frame.text);
        return processSingleMessage(frame.text, frame.leftover, requestId);
    } catch (const std::exception& error) {
        return bk2::raise_assertion(PANEDECK_ASSERTION_SITE("no exception"),
                                    bk2::kinds::failed_to_process_this_operation, error.what());
    }
}

error_code_t SocketClient::processSingleMessage(const ustring8& text, std::size_t leftover,
                                                std::string& requestId) {
    PANEDECK_REQUIRE(m_eventHandler, "m_eventHandler", bk2::kinds::failed_to_process_this_operation,
                     "Event handler was not specified, message handling is not expected");
    variant_bag_t message;
    const error_code_t result = read_message(text, leftover, message);
    PANEDECK_REQUIRE(result.succeeded(), "result", bk2::kinds::failed_to_process_this_operation,
                     "Invalid incoming message syntax");
    if (variant_bag_t* request = message.get<variant_bag_t>("request"))
        return processIncomingRequest(*request, requestId);
    if (variant_bag_t* event = message.get<variant_bag_t>("event")) return processEvent(*event);
    return error_code_t::failure("No meaningful data in the message");
}

// The handlers may take the bag's content away, so the texts that they are called with are held apart from
// it.

error_code_t SocketClient::processEvent(variant_bag_t& event) {
    const variant_t* nameVar = event.get<variant_t>("name");
    PANEDECK_REQUIRE(nameVar && nameVar->can_get<const char*>(),
                     "nameVar && nameVar->can_get<const portkit2::uchar_t*>()",
                     bk2::kinds::failed_to_process_this_operation, "Invalid event name");
    const variant_t name = *nameVar;
    return m_eventHandler->onEvent(name.get<const char*>(), event);
}

error_code_t SocketClient::processIncomingRequest(variant_bag_t& request, std::string& requestId) {
    const variant_t* idVar = request.get<variant_t>("id");
    if (idVar && idVar->can_get<const char*>()) requestId = idVar->text();
    const variant_t* typeVar = request.get<variant_t>("type");
    PANEDECK_REQUIRE(typeVar && typeVar->can_get<const char*>(),
                     "typeVar && typeVar->can_get<const portkit2::uchar_t*>()",
                     bk2::kinds::failed_to_process_this_operation, "Invalid request type value");
    PANEDECK_REQUIRE(idVar && idVar->can_get<const char*>(),
                     "idVar && idVar->can_get<const portkit2::uchar_t*>()",
                     bk2::kinds::failed_to_process_this_operation, "Invalid request ID value");
    const variant_t type = *typeVar;
    return m_eventHandler->onRequest(requestId.c_str(), type.get<const char*>(), request);
}

// ---- Outgoing ----

error_code_t SocketClient::sendResponse(const char* requestId, const char* type, variant_bag_t* payload) {
    variant_bag_t outBag;
    if (requestId) outBag.put<variant_t>("requestId", variant_t::borrow(requestId));
    if (type && is_json_response(type)) outBag.put<variant_t>("serializeAsJson", variant_t());
    if (type) outBag.put<variant_t>("type", variant_t::borrow(type));
    if (payload) outBag.add_variant_bag("").swap(*payload);
    PANEDECK_REQUIRE(!outBag.is_empty(), "!outBag.is_empty()", bk2::kinds::failed_to_process_this_operation,
                     "Response is empty");
    return sendMsg(outBag, "response");
}

error_code_t SocketClient::sendErrorResponse(const char* requestId, const error_code_t& error) {
    variant_bag_t payload;
    payload.put_own_value("text", variant_t(error.as_string(1)));
    return sendResponse(requestId, "error", &payload);
}

error_code_t SocketClient::notifyRequestCancel(const char* requestId) {
    PANEDECK_REQUIRE(requestId, "requestId", bk2::kinds::is_not_valid_argument, "Invalid request ID");
    return sendResponse(requestId, "canceled", nullptr);
}

error_code_t SocketClient::sendEvent(const char* name, const variant_bag_t* payload) {
    PANEDECK_REQUIRE(name, "name", bk2::kinds::is_not_valid_argument, "Invalid event name");
    variant_bag_t event;
    event.put<variant_t>("name", variant_t::borrow(name));
    if (payload && !payload->is_empty()) event.put<variant_bag_t>("", *payload);
    return sendMsg(event, "event");
}

error_code_t SocketClient::sendMsg(variant_bag_t& bag, const char* root) {
    const connection_number_t connection = m_openConnection;
    PANEDECK_REQUIRE(connection != no_connection, "m_socket.is_open()",
                     bk2::kinds::failed_to_process_this_operation,
                     "Cannot send message due to socket is closed");
    frame_t frame;
    if (error_code_t result = makeFrame(bag, root, frame); result.failed()) return result;
    boost::asio::post(m_strand, [this, outgoing = OutgoingFrame{std::move(frame), connection}] {
        enqueueMessage(outgoing);
    });
    return {};
}

error_code_t SocketClient::makeFrame(variant_bag_t& bag, const char* root, frame_t& frame) {
    PANEDECK_REQUIRE(root, "root", bk2::kinds::is_not_valid_argument, "type");
    const auto msg = std::make_shared<ustring8>();
    PANEDECK_PASS_ON(write_message(bag, root, *msg));
    PANEDECK_REQUIRE(msg->size() < MAX_MSG_SIZE, "msg->size() < MAX_MSG_SIZE", bk2::kinds::is_not_valid_data,
                     "Response size exceeds 100MB limit");
    msg->push_back(frame_terminator);
    frame = msg;
    return {};
}

/// Logged with the marks of its parameters, so that the log leaves them out, and sent without.
error_code_t SocketClient::makeHandshake(frame_t& frame) {
    variant_bag_t handshake;
    if (!m_connectParams.is_empty()) handshake.put<variant_bag_t>("", m_connectParams);
    handshake.put<variant_t>("role", variant_t::borrow(m_role.c_str()));
    PANEDECK_PASS_ON(makeFrame(handshake, "handshake", frame));
    if (m_connectParams.is_empty()) return {};
    remove_marks(*handshake.get<variant_bag_t>(""));
    ustring8 text;
    PANEDECK_PASS_ON(bk2::save_variant_bag_to_string2(handshake, text, "msg.handshake"));
    frame = std::make_shared<const ustring8>(text + frame_terminator);
    return {};
}

/// Queues the handshake ahead of the frames that were sent while this connection was in the making.
void SocketClient::enqueueHandshake() {
    OutgoingFrame frame{nullptr, m_connection};
    const error_code_t result = makeHandshake(frame.text);
    m_handshaken = true;
    if (result.succeeded())
        m_outputMessages.insert(m_outputMessages.begin() + (m_writing ? 1 : 0), std::move(frame));
    if (!m_writing && !m_outputMessages.empty()) processOutputQueue();
}

void SocketClient::enqueueMessage(OutgoingFrame frame) {
    if (frame.connection != m_connection || m_openConnection != m_connection) return logDroppedFrames(1);
    m_outputMessages.push_back(std::move(frame));
    if (m_handshaken && !m_writing) processOutputQueue();
}

void SocketClient::processOutputQueue() {
    PANEDECK_EXPECT(!m_outputMessages.empty(), "!m_outputMessages.empty()");
    m_writing = true;
    const auto completion = [this, socket = m_socket](const boost_error& error, std::size_t) {
        handleWrite(error);
    };
    boost::asio::async_write(*m_socket, boost::asio::buffer(*m_outputMessages.front().text),
                             boost::asio::bind_executor(m_strand, completion));
}

void SocketClient::handleWrite(const boost_error& error) {
    m_outputMessages.pop_front();
    m_writing = false;
    if (error) log_failure("Could not write to socket: ", error);
    if (m_handshaken && !m_outputMessages.empty()) processOutputQueue();
}

/// Nothing is kept for the next connection. The frame that is being written goes when its write has failed.
void SocketClient::dropWaitingFrames() {
    const std::size_t kept = m_writing ? 1 : 0;
    if (m_outputMessages.size() <= kept) return;
    logDroppedFrames(m_outputMessages.size() - kept);
    m_outputMessages.resize(kept);
}

void SocketClient::logDroppedFrames(std::size_t count) {
    logkit1::log(logkit1::level_t::warning,
                 "Dropped " + std::to_string(count) + " outgoing message(s) of a connection that is gone");
}

} // namespace panedeck
