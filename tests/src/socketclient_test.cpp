#include "logkit/component_logger.h"
#include "support/loopback_server.h"
#include "transport/isocket_client.h"
#include "transport/isocket_event_handler.h"

#include <boost/system/system_error.hpp>
#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace panedeck {
namespace {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;
using tests::LoopbackConnection;
using tests::LoopbackServer;

/// Keeps what the client reports and lets the test wait for it.
class RecordingHandler : public ISocketEventHandler {
public:
    error_code_t onRequest(const char* id, const char* type, variant_bag_t& request) override {
        if (on_request) return on_request(request);
        const variant_t* text = request.get<variant_t>("text");
        return record(std::string(id) + " " + type + (text ? " " + std::string(text->text()) : ""));
    }
    error_code_t onEvent(const char* name, variant_bag_t&) override {
        return record(std::string("event ") + name);
    }
    void onConnectionLost() override { (void)record("lost"); }
    void onConnected() override { (void)record("connected"); }

    /// The next thing that was reported.
    std::string next() {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait_for(lock, tests::patience, [this] { return m_next < m_reports.size(); }))
            return "nothing happened";
        return m_reports[m_next++];
    }

    std::function<error_code_t(variant_bag_t&)> on_request;

private:
    error_code_t record(std::string what) {
        const std::lock_guard lock(m_mutex);
        m_reports.push_back(std::move(what));
        m_changed.notify_all();
        return {};
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_reports;
    std::size_t m_next = 0;
};

class SocketClientTest : public testing::Test {
protected:
    ~SocketClientTest() override { (void)m_client->closeConnection(); }

    void connect(variant_bag_t* params = nullptr) {
        ASSERT_TRUE(m_client->connectToServer("127.0.0.1", m_server->port(), "tester", params).succeeded());
        m_peer = m_server->accept();
        ASSERT_EQ(m_peer->read_frame(), "<msg><handshake><role>tester</role></handshake></msg>");
        ASSERT_EQ(m_handler.next(), "connected");
    }

    /// The other end goes away and comes back on the same port.
    void restart_server() {
        const unsigned short port = m_server->port();
        m_server.reset();
        m_peer.reset();
        ASSERT_EQ(m_handler.next(), "lost");
        m_server = std::make_unique<LoopbackServer>(port);
        m_peer = m_server->accept();
    }

    RecordingHandler m_handler;
    std::unique_ptr<LoopbackServer> m_server = std::make_unique<LoopbackServer>();
    std::unique_ptr<LoopbackConnection> m_peer;
    bk2::sptr_t<ISocketClient> m_client = ISocketClient::create(&m_handler);
};

std::string request_frame(const std::string& id, const std::string& text = "") {
    return "<msg><request><id>" + id + "</id><type>test:do</type><text>" + text + "</text></request></msg>";
}

TEST_F(SocketClientTest, IntroducesItselfWithRoleAndParameters) {
    variant_bag_t params;
    params.put<variant_t>("token", "secret");
    ASSERT_TRUE(m_client->connectToServer("127.0.0.1", m_server->port(), "host", &params).succeeded());
    EXPECT_TRUE(params.is_empty());
    m_peer = m_server->accept();
    const std::string handshake =
        "<msg><handshake><role>host</role><_><token>secret</token></_></handshake></msg>";
    EXPECT_EQ(m_peer->read_frame(), handshake);
    EXPECT_EQ(m_handler.next(), "connected");

    // A further call changes nothing: the next handshake is the same, and goes to the same place.
    variant_bag_t others;
    others.put<variant_t>("token", "other");
    EXPECT_TRUE(m_client->connectToServer("127.0.0.1", 1, "other", &others).succeeded());
    EXPECT_FALSE(others.is_empty());
    restart_server();
    EXPECT_EQ(m_peer->read_frame(), handshake);
}

TEST_F(SocketClientTest, BadAddressThrowsAndFurtherCallsSucceed) {
    EXPECT_THROW((void)m_client->connectToServer("localhost", 1, "tester", nullptr),
                 boost::system::system_error);
    EXPECT_TRUE(m_client->connectToServer("127.0.0.1", m_server->port(), "tester", nullptr).succeeded());
    EXPECT_TRUE(m_client->closeConnection().succeeded());
    EXPECT_TRUE(m_client->closeConnection().succeeded());
}

/// Every failure that needs no incoming frame, with the text that reaches the front end.
TEST_F(SocketClientTest, RefusesBadArguments) {
    const auto text = [](const error_code_t& error) { return error.as_string(1); };
    EXPECT_EQ(text(m_client->sendEvent("e", nullptr)),
              "FailedTo.Process.This.Operation: Cannot send message due to socket is closed");
    const char* bad_connect = "IsNot.Valid.Argument: hostname or role were not valid connecting to server";
    EXPECT_EQ(text(m_client->connectToServer(nullptr, 1, "tester", nullptr)), bad_connect);
    EXPECT_EQ(text(m_client->connectToServer("127.0.0.1", 1, nullptr, nullptr)), bad_connect);
    connect();
    EXPECT_EQ(text(m_client->sendEvent(nullptr, nullptr)), "IsNot.Valid.Argument: Invalid event name");
    EXPECT_EQ(text(m_client->notifyRequestCancel(nullptr)), "IsNot.Valid.Argument: Invalid request ID");
    EXPECT_EQ(text(m_client->sendResponse(nullptr, nullptr, nullptr)),
              "FailedTo.Process.This.Operation: Response is empty");
    EXPECT_TRUE(m_client->closeConnection().succeeded());
    EXPECT_EQ(text(m_client->notifyRequestCancel("1")),
              "FailedTo.Process.This.Operation: Cannot send message due to socket is closed");
}

TEST_F(SocketClientTest, AnswersForAHandlerThatFailsThrowsOrIsMissing) {
    const auto answer = [&](const std::string& text) {
        m_peer->send(request_frame("5"));
        EXPECT_NE(
            m_peer->read_frame().find("\"requestId\":\"5\",\"serializeAsJson\":null,\"type\":\"error\",\"\":"
                                      "{\"text\":\"" +
                                      text + "\"}"),
            std::string::npos)
            << text;
    };
    m_handler.on_request = [](variant_bag_t&) { return error_code_t::failure("no"); };
    connect();
    answer("FailedTo: no");
    m_handler.on_request = [](variant_bag_t&) -> error_code_t { throw std::runtime_error("broken"); };
    answer("FailedTo.Process.This.Operation: broken");

    LoopbackServer server;
    const auto deaf = ISocketClient::create(nullptr);
    ASSERT_TRUE(deaf->connectToServer("127.0.0.1", server.port(), "deaf", nullptr).succeeded());
    const auto peer = server.accept();
    peer->read_frame();
    peer->send(request_frame("5"));
    EXPECT_NE(peer->read_frame().find("Event handler was not specified, message handling is not expected"),
              std::string::npos);
}

TEST_F(SocketClientTest, WritesEachTypeInItsForm) {
    const std::string xml_type = "<msg><response><requestId>1</requestId><type>";
    const std::vector<std::pair<const char*, bool>> types = {
        {"grid:get", true},       {"grid", true},
        {"filter:set", true},     {"knob:get", true},
        {"property:get", true},   {"viewpoint:config", true},
        {"viewpoint:get", false}, {"gridview:scroll", false},
        {"options:get", false},   {"viewpoint:config2", false},
        {"Grid:get", false},      {":grid", false},
    };
    connect();
    for (const auto& [type, is_xml] : types) {
        variant_bag_t payload;
        payload.put<variant_t>("a", "b");
        ASSERT_TRUE(m_client->sendResponse("1", type, &payload).succeeded());
        EXPECT_TRUE(payload.is_empty());
        const std::string xml = xml_type + type + "</type><_><a>b</a></_></response></msg>";
        const std::string json =
            std::string(R"({"response":{"requestId":"1","serializeAsJson":null,"type":")") + type +
            R"(","":{"a":"b"}}})";
        EXPECT_EQ(m_peer->read_frame(), is_xml ? xml : json);
    }
}

TEST_F(SocketClientTest, WritesEnvelopesWithWhatIsGiven) {
    connect();
    const auto expect_frame = [&](const error_code_t& sent, const char* frame) {
        ASSERT_TRUE(sent.succeeded());
        EXPECT_EQ(m_peer->read_frame(), frame);
    };
    variant_bag_t empty;
    variant_bag_t payload;
    payload.put<variant_t>("n", variant_t(bk2::u8_t(1)));
    expect_frame(m_client->sendResponse("1", nullptr, nullptr),
                 "<msg><response><requestId>1</requestId></response></msg>");
    expect_frame(m_client->sendResponse(nullptr, nullptr, &empty),
                 R"(<msg><response><_ type="bag"/></response></msg>)");
    expect_frame(m_client->sendResponse("1", "options:set", &empty),
                 R"({"response":{"requestId":"1","serializeAsJson":null,"type":"options:set","":null}})");
    expect_frame(m_client->notifyRequestCancel("1"),
                 R"({"response":{"requestId":"1","serializeAsJson":null,"type":"canceled"}})");
    expect_frame(
        m_client->sendErrorResponse("1", error_code_t::raise("IsNot.Valid.Data", "x")),
        R"({"response":{"requestId":"1","serializeAsJson":null,"type":"error","":{"text":"IsNot.Valid.Data: x"}}})");
    expect_frame(m_client->sendEvent("e", nullptr), "<msg><event><name>e</name></event></msg>");
    expect_frame(m_client->sendEvent("e", &empty), "<msg><event><name>e</name></event></msg>");
    expect_frame(m_client->sendEvent("e", &payload),
                 R"(<msg><event><name>e</name><_><n type="u8_t">1</n></_></event></msg>)");
    EXPECT_FALSE(payload.is_empty());
}

TEST_F(SocketClientTest, FramesOfManyThreadsStayWhole) {
    constexpr int threads = 4;
    constexpr int frames = 200;
    connect();
    std::vector<std::thread> senders;
    for (int thread = 0; thread < threads; ++thread)
        senders.emplace_back([this, thread] {
            for (int frame = 0; frame < frames; ++frame) {
                const std::string name = std::to_string(thread) + ":" + std::to_string(frame);
                EXPECT_TRUE(m_client->sendEvent(name.c_str(), nullptr).succeeded());
            }
        });
    std::vector<int> next(threads, 0);
    for (int frame = 0; frame < threads * frames; ++frame) {
        const std::string text = m_peer->read_frame();
        const auto thread = static_cast<std::size_t>(text.at(sizeof("<msg><event><name>") - 1) - '0');
        EXPECT_EQ(text, "<msg><event><name>" + std::to_string(thread) + ":" +
                            std::to_string(next.at(thread)++) + "</name></event></msg>");
    }
    for (std::thread& sender : senders)
        sender.join();
}

TEST_F(SocketClientTest, HalfAFrameMayEndOnTheNextConnection) {
    connect();
    m_peer->send("<msg><request><id>1</id><ty");
    restart_server();
    m_peer->read_frame();
    EXPECT_EQ(m_handler.next(), "connected");
    m_peer->send("pe>test:do</type></request></msg>");
    EXPECT_EQ(m_handler.next(), "1 test:do");
}

/// A peer that goes away in the middle of a long write, with more behind it: none of that reaches its
/// successor.
TEST_F(SocketClientTest, HandshakeIsFirstAndOldFramesAreDropped) {
    connect();
    variant_bag_t payload;
    payload.put<variant_t>("text", std::string(30'000'000, 'x'));
    for (int frame = 0; frame < 3; ++frame)
        ASSERT_TRUE(m_client->sendEvent("stale", &payload).succeeded());
    const unsigned short port = m_server->port();
    m_server.reset();
    m_peer.reset();
    ASSERT_EQ(m_handler.next(), "lost");
    // The socket is closed, or an attempt that must fail is under way: what is accepted now belongs to no
    // connection.
    while (m_client->sendEvent("stale", nullptr).succeeded())
        std::this_thread::yield();
    m_server = std::make_unique<LoopbackServer>(port);
    m_peer = m_server->accept();
    EXPECT_EQ(m_handler.next(), "connected");
    ASSERT_TRUE(m_client->sendEvent("fresh", nullptr).succeeded());
    EXPECT_EQ(m_peer->read_frame(), "<msg><handshake><role>tester</role></handshake></msg>");
    EXPECT_EQ(m_peer->read_frame(), "<msg><event><name>fresh</name></event></msg>");
}

/// A server that hangs up at once is called every 200 ms and gets nothing but the handshake.
TEST_F(SocketClientTest, RepeatsTheHandshakeForAsLongAsItTakes) {
    connect();
    const auto start = std::chrono::steady_clock::now();
    for (int attempt = 0; attempt < 3; ++attempt) {
        m_peer.reset();
        EXPECT_EQ(m_handler.next(), "lost");
        m_peer = m_server->accept();
        EXPECT_EQ(m_peer->read_frame(), "<msg><handshake><role>tester</role></handshake></msg>");
        EXPECT_EQ(m_handler.next(), "connected");
    }
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(3 * 200));
}

TEST_F(SocketClientTest, TheLongestFrameIsJustUnder100MiB) {
    connect();
    constexpr std::size_t limit = 104857600;
    const std::string around = "<msg><event><name>e</name><_><t></t></_></event></msg>";
    variant_bag_t payload;
    payload.put<variant_t>("t", std::string(limit - around.size(), 'x'));
    EXPECT_EQ(m_client->sendEvent("e", &payload).as_string(1),
              "IsNot.Valid.Data: Response size exceeds 100MB limit");
    payload.put<variant_t>("t", std::string(limit - 1 - around.size(), 'x'));
    ASSERT_TRUE(m_client->sendEvent("e", &payload).succeeded());
    const std::string frame = m_peer->read_frame();
    EXPECT_EQ(frame.size(), limit - 1);
    EXPECT_TRUE(frame.ends_with("xxx</t></_></event></msg>"));
}

std::mutex log_mutex;
std::string logged;

void keep_log(logkit1::level_t, std::string_view text) {
    const std::lock_guard lock(log_mutex);
    logged.append(text).append("\n");
}

TEST_F(SocketClientTest, TracesMessagesWithoutMarkedParameters) {
    const auto level = logkit1::getUnitLogLevel();
    logkit1::set_log_observer(keep_log);
    logkit1::setUnitLogLevel(logkit1::level_t::trace);
    connect();
    m_peer->send(request_frame("1", "sensitive(in)sensitive"));
    EXPECT_EQ(m_handler.next(), "1 test:do sensitive(in)sensitive");
    variant_bag_t payload;
    payload.put<variant_t>("text", "sensitive(out)sensitive");
    ASSERT_TRUE(m_client->sendResponse("1", "test:do", &payload).succeeded());
    EXPECT_NE(m_peer->read_frame().find("sensitive(out)sensitive"), std::string::npos);
    ASSERT_TRUE(m_client->closeConnection().succeeded());
    logkit1::setUnitLogLevel(level);
    logkit1::set_log_observer(nullptr);
    EXPECT_NE(logged.find("Incoming message: <msg><request><id>1</id>"), std::string::npos);
    EXPECT_NE(logged.find("Outgoing message:\n{\n    \"response\": {"), std::string::npos);
    EXPECT_EQ(logged.find("sensitive(in"), std::string::npos);
    EXPECT_EQ(logged.find("sensitive(out"), std::string::npos);
}

} // namespace
} // namespace panedeck
