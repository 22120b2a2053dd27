// Any bytes on the wire: what can be answered is, what cannot is refused, and the connection lives on. The
// real socket client over loopback, with the handlers on its own thread, so that a run can be repeated.

#include "served_profile.h"
#include "support/loopback_server.h"
#include "transport/isocket_client.h"
#include "transport/isocket_event_handler.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

namespace {

using bk2::error_code_t;
using bk2::variant_bag_t;

/// Serves each request when it comes in.
class Server : public panedeck::ISocketEventHandler {
public:
    void setClient(const bk2::sptr_t<panedeck::ISocketClient>& client) { m_client = client.get(); }

    error_code_t onRequest(const char* requestId, const char* requestType, variant_bag_t& request) override {
        if (std::string(requestType) == "next-input") m_dispatcher = m_profile.dispatcher();
        variant_bag_t answer;
        // Writing where the input says is left out.
        if (std::string(requestType).find("exportToCsv") != std::string::npos)
            return error_code_t::failure("");
        const error_code_t result = m_dispatcher->handleRequest(requestType, request, answer, nullptr);
        if (result.failed()) return result;
        return m_client->sendResponse(requestId, requestType, &answer);
    }
    error_code_t onEvent(const char*, variant_bag_t&) override { return {}; }
    void onConnectionLost() override {}
    void onConnected() override {}

private:
    panedeck::fuzz::ServedProfile m_profile;
    std::shared_ptr<panedeck::IRequestDispatcher> m_dispatcher = m_profile.dispatcher();
    panedeck::ISocketClient* m_client =
        nullptr; ///< the client outlives its connection, and with it all calls
};

/// The far end: sends inputs and looks for the answer to a request of its own behind each.
class GuiServer {
public:
    GuiServer() : m_client(panedeck::ISocketClient::create(&m_server)) {
        m_server.setClient(m_client);
        if (m_client->connectToServer("127.0.0.1", m_listener.port(), "library", nullptr).failed())
            std::abort();
        m_connection = m_listener.accept();
        static_cast<void>(m_connection->read_frame());
    }
    ~GuiServer() { static_cast<void>(m_client->closeConnection()); }

    void send(std::string_view bytes) {
        const std::string id = "probe-" + std::to_string(++m_number);
        // The input's own last frame may lack its end.
        m_connection->send(std::string(bytes) + "</msg>" + request(id, "options:get") +
                           request(id + "-end", "next-input"));
        while (!isAbout(m_connection->read_frame(), id)) {
        }
        while (!isAbout(m_connection->read_frame(), id + "-end")) {
        }
    }

private:
    static std::string request(const std::string& id, const std::string& type) {
        return "<msg><request><id>" + id + "</id><type>" + type + "</type></request></msg>";
    }
    static bool isAbout(const std::string& frame, const std::string& id) {
        return frame.find('"' + id + '"') != std::string::npos ||
               frame.find('>' + id + '<') != std::string::npos;
    }

    panedeck::tests::LoopbackServer m_listener;
    Server m_server;
    bk2::sptr_t<panedeck::ISocketClient> m_client;
    std::unique_ptr<panedeck::tests::LoopbackConnection> m_connection;
    std::size_t m_number = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static GuiServer guiServer;
    try {
        guiServer.send({reinterpret_cast<const char*>(data), size});
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "no answer to the request behind the input: %s\n", failure.what());
        std::abort();
    }
    return 0;
}
