#include "relay_server.h"
#include "settingshub/private_folder.h"
#include "support/loopback_server.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <tuple>
#include <vector>

namespace panedeck::guiserver {
namespace {

using tests::LoopbackConnection;
using tcp = boost::asio::ip::tcp;

const std::string connected_event = "<msg><event><name>relay:libraryConnected</name></event></msg>";
const std::string lost_event = "<msg><event><name>relay:libraryLost</name></event></msg>";

/// The browser's end of a WebSocket.
class BrowserTab {
public:
    BrowserTab(const std::string& host, const std::string& target, const std::string& origin) {
        m_connection.socket().connect(*parse_endpoint(host));
        m_connection.send("GET " + target + " HTTP/1.1\r\nHost: " + host + "\r\n" +
                          (origin.empty() ? "" : "Origin: " + origin + "\r\n") +
                          "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
                          "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n");
        m_status = m_connection.read_until("\r\n\r\n").substr(9, 3);
    }

    const std::string& status() const { return m_status; }
    LoopbackConnection& connection() { return m_connection; }

    /// One text frame of at most 125 bytes; its mask is 0, so that the text stands in it as it is.
    void send(const std::string& text) {
        ASSERT_LE(text.size(), 125u);
        m_connection.send(std::string{'\x81', static_cast<char>(0x80 | text.size()), 0, 0, 0, 0});
        m_connection.send(text);
    }

    std::string receive() {
        const std::string front = m_connection.read_exactly(2);
        EXPECT_EQ(front[0], '\x81') << "a whole text in one frame";
        std::size_t size = static_cast<unsigned char>(front[1]);
        const std::size_t length_bytes = size == 126 ? 2 : size == 127 ? 8 : 0;
        if (length_bytes > 0) size = 0;
        for (const char byte : m_connection.read_exactly(length_bytes))
            size = size << 8 | static_cast<unsigned char>(byte);
        return m_connection.read_exactly(size);
    }

private:
    LoopbackConnection m_connection;
    std::string m_status;
};

class RelayServerTest : public testing::Test {
protected:
    explicit RelayServerTest(const RelayLimits& limits = {}) {
        std::ofstream(m_folder / "index.html") << "<p>page</p>";
        std::ofstream(m_folder / "app.js") << "code";
        RelayOptions options;
        options.http = options.library = tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0);
        options.web = m_folder.path();
        options.token = "secret";
        options.export_directory = m_exports.path();
        m_server = std::make_unique<RelayServer>(options, limits);
        m_thread = std::thread([this] { m_server->run(); });
        const std::string url = m_server->url();
        m_host = url.substr(7, url.find('/', 7) - 7);
    }
    ~RelayServerTest() override { stop(); }

    void stop() {
        m_server->stop();
        if (m_thread.joinable()) m_thread.join();
    }

    std::string host_header() const { return "Host: " + m_host + "\r\n"; }

    /// The headers of a request from the page: with the cookie that loading it has set.
    std::string page_headers() {
        const std::string page = ask("GET /?token=secret HTTP/1.1", host_header());
        const std::size_t begin = page.find("Set-Cookie: ") + 12;
        return host_header() + "Cookie: " + page.substr(begin, page.find(';', begin) - begin) + "\r\n";
    }

    /// The whole answer to a request that asks for the connection to be closed behind it.
    std::string ask(const std::string& first_line, const std::string& headers) {
        LoopbackConnection connection;
        connection.socket().connect(*parse_endpoint(m_host));
        connection.send(first_line + "\r\n" + headers + "Connection: close\r\n\r\n");
        return connection.read_to_end();
    }

    BrowserTab open_tab() { return {m_host, "/ws?token=secret", "http://" + m_host}; }

    std::unique_ptr<LoopbackConnection> connect_library(const std::string& token) {
        auto connection = std::make_unique<LoopbackConnection>();
        connection->socket().connect(*parse_endpoint(m_server->library_address()));
        connection->send("<msg><handshake><role>r</role><_><token>" + token +
                         "</token></_></handshake></msg>\x0B");
        return connection;
    }

    std::vector<std::unique_ptr<LoopbackConnection>> connect_silently(const std::string& address, int count) {
        std::vector<std::unique_ptr<LoopbackConnection>> made;
        for (int index = 0; index < count; ++index) {
            made.push_back(std::make_unique<LoopbackConnection>());
            made.back()->socket().connect(*parse_endpoint(address));
        }
        return made;
    }

    tests::TemporaryFolder m_folder;
    tests::TemporaryFolder m_exports;
    std::unique_ptr<RelayServer> m_server;
    std::thread m_thread;
    std::string m_host;
};

TEST_F(RelayServerTest, ServesItsFilesToWhoKnowsTheToken) {
    const std::string host = host_header();
    const std::string cookie = page_headers();
    const std::string token_as_cookie =
        host + "Cookie: panedeck-" + m_host.substr(m_host.find(':') + 1) + "=secret\r\n";
    const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
        {"GET /?token=secret HTTP/1.1", host, "200"},
        {"HEAD /?token=secret HTTP/1.1", host, "200"},
        {"GET / HTTP/1.1", host, "403"},
        {"GET / HTTP/1.1", cookie, "403"},
        {"GET /index.html HTTP/1.1", cookie, "403"},
        {"GET /?token=Secret HTTP/1.1", host, "403"},
        {"GET /?token=secret HTTP/1.1", "Host: evil.example\r\n", "403"},
        {"GET /?token=secret HTTP/1.1", "", "403"},
        {"GET /app.js HTTP/1.1", cookie, "200"},
        {"GET /app.js?token=secret HTTP/1.1", host, "200"},
        {"GET /app.js HTTP/1.1", host, "403"},
        {"GET /app.js HTTP/1.1", token_as_cookie, "403"},
        {"GET /ws HTTP/1.1", cookie + "Origin: http://" + m_host + "\r\n", "403"},
        {"GET /missing HTTP/1.1", cookie, "404"},
        {"GET /missing HTTP/1.1", host, "403"},
        {"GET /%2e%2e/etc/passwd HTTP/1.1", cookie, "404"},
        {"GET /% HTTP/1.1", cookie, "400"},
        {"POST /app.js HTTP/1.1", cookie + "Content-Length: 0\r\n", "405"},
        {"POST /app.js HTTP/1.1", cookie + "Content-Length: 4\r\n", "400"},
        {"GET /ws?token=secret HTTP/1.1", cookie + "Origin: http://" + m_host + "\r\n", "426"},
        {"nonsense", "", "400"},
        {"GET /app.js HTTP/1.1", cookie + "X: " + std::string(20'000, 'x') + "\r\n", "400"},
    };
    for (const auto& [first_line, headers, status] : cases)
        EXPECT_EQ(ask(first_line, headers).substr(9, 3), status) << first_line << "\n"
                                                                 << headers.substr(0, 200);

    const std::string page = ask("GET /?token=secret HTTP/1.1", host);
    for (const char* part :
         {"; Path=/; HttpOnly; SameSite=Strict\r\n", "Cache-Control: no-store\r\n", "Content-Type: text/html",
          "Content-Security-Policy: default-src 'none'", "X-Content-Type-Options: nosniff", "<p>page</p>"})
        EXPECT_NE(page.find(part), std::string::npos) << part;
    for (const char* part : {"secret", "unsafe", "data:"})
        EXPECT_EQ(page.find(part), std::string::npos) << part;
}

/// Whoever holds the page's cookie gets an export once; what broke off or only asked for its size does not
/// count.
TEST_F(RelayServerTest, HandsOutAnExportOnce) {
    settingshub2::PrivateFolder folder;
    ASSERT_TRUE(folder.open(m_exports.path()).succeeded());
    std::string name, large;
    ASSERT_TRUE(folder.create_file(name).succeeded() && folder.create_file(large).succeeded());
    std::ofstream(folder.path_of(name)) << "\"a\"\n";
    std::ofstream(folder.path_of(large)) << std::string(50'000'000, 'x');
    std::filesystem::create_symlink(m_folder / "app.js", m_exports / std::string(48, 'a'));
    ASSERT_EQ(::mkfifo((m_exports / std::string(48, 'b')).c_str(), 0600), 0);
    std::ofstream(m_exports / "other.csv") << "x";

    const std::string cookie = page_headers();
    const std::string path = "/download/" + name + "/";
    const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
        {"GET " + path + "a.csv HTTP/1.1", host_header(), "403"},
        {"POST " + path + "a.csv HTTP/1.1", cookie, "405"},
        {"GET " + path + " HTTP/1.1", cookie, "404"},
        {"GET " + path + "..%2fa.csv HTTP/1.1", cookie, "404"},
        {"GET /download/" + std::string(48, 'a') + "/a.csv HTTP/1.1", cookie, "404"},
        {"GET /download/" + std::string(48, 'b') + "/a.csv HTTP/1.1", cookie, "404"},
        {"GET /download/" + std::string(48, 'c') + "/a.csv HTTP/1.1", cookie, "404"},
        {"GET /download/other.csv/other.csv HTTP/1.1", cookie, "404"},
        {"GET /download/%2e%2e%2f" + name + "/a.csv HTTP/1.1", cookie, "404"},
        {"HEAD " + path + "a.csv HTTP/1.1", cookie, "200"},
    };
    for (const auto& [first_line, headers, status] : cases)
        EXPECT_EQ(ask(first_line, headers).substr(9, 3), status) << first_line;

    const std::string answer = ask("GET " + path + "%c3%a4%0d%0aX%22.csv HTTP/1.1", cookie);
    EXPECT_TRUE(answer.ends_with("\r\n\r\n\"a\"\n")) << answer;
    EXPECT_NE(answer.find("Content-Disposition: attachment; filename=\"____X_.csv\"; "
                          "filename*=UTF-8''%C3%A4%0D%0AX%22.csv\r\n"),
              std::string::npos)
        << answer;
    EXPECT_EQ(ask("GET " + path + "a.csv HTTP/1.1", cookie).substr(9, 3), "404");

    LoopbackConnection aborted;
    aborted.socket().connect(*parse_endpoint(m_host));
    aborted.send("GET /download/" + large + "/a.csv HTTP/1.1\r\n" + cookie + "\r\n");
    EXPECT_EQ(aborted.read_until("\r\n\r\n").substr(9, 3), "200");
    EXPECT_EQ(ask("GET /download/" + large + "/a.csv HTTP/1.1", cookie).substr(9, 3), "404") << "under way";
    aborted.close();
    std::string again;
    for (int tries = 0; tries < 10'000 && !again.starts_with("HTTP/1.1 200"); ++tries) // until it has noticed
        again = ask("GET /download/" + large + "/a.csv HTTP/1.1", cookie);
    EXPECT_GT(again.size(), 50'000'000u);
    EXPECT_EQ(folder.open_file(large), -1);

    ASSERT_TRUE(folder.create_file(name).succeeded());
    stop();
    EXPECT_EQ(folder.open_file(name), -1) << "unfetched at the end";
    EXPECT_TRUE(std::filesystem::exists(m_exports / "other.csv"));
}

/// However many connections say nothing, whoever has something to say gets through.
TEST_F(RelayServerTest, SilentConnectionsMakeRoom) {
    const auto browsers = connect_silently(m_host, 300);
    EXPECT_EQ(ask("GET /?token=secret HTTP/1.1", host_header()).substr(9, 3), "200");
    BrowserTab tab = open_tab();
    EXPECT_EQ(tab.receive(), lost_event);
    const auto strangers = connect_silently(m_server->library_address(), 20);
    const auto library = connect_library("secret");
    EXPECT_EQ(tab.receive(), connected_event);
    const auto more = connect_silently(m_server->library_address(), 20);
    more.back()->send("nonsense\x0B");
    EXPECT_EQ(more.back()->read_to_end(), "");
    library->send("<msg><event><name>e</name></event></msg>\x0B");
    EXPECT_EQ(tab.receive(), "<msg><event><name>e</name></event></msg>") << "a library that is in stays";
}

struct ImpatientRelayServerTest : RelayServerTest {
    ImpatientRelayServerTest() : RelayServerTest({.stranger_patience = std::chrono::milliseconds(50)}) {}
};

TEST_F(ImpatientRelayServerTest, EndsWhatIsHalfSent) {
    EXPECT_LE(RelayLimits().stranger_patience, std::chrono::seconds(5));
    for (const auto& [address, half] : {std::pair(m_host, "GET / HTTP/1.1\r\nHost: "),
                                        std::pair(m_server->library_address(), "<msg><handshake>")}) {
        const auto connection = std::move(connect_silently(address, 1).front());
        connection->send(half);
        EXPECT_EQ(connection->read_to_end(), "");
    }
}

TEST_F(RelayServerTest, OpensAWebSocketForItsOwnPageOnly) {
    const std::string origin = "http://" + m_host;
    const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
        {"/ws?token=secret", origin, "101"},
        {"/ws?token=wrong", origin, "403"},
        {"/ws", origin, "403"},
        {"/ws?token=secret", "", "403"},
        {"/ws?token=secret", "http://evil.example", "403"},
        {"/ws?token=secret", "null", "403"},
    };
    for (const auto& [target, from, status] : cases)
        EXPECT_EQ(BrowserTab(m_host, target, from).status(), status) << target << " " << from;
}

TEST_F(RelayServerTest, TakesOneLibraryWithTheToken) {
    BrowserTab tab = open_tab();
    EXPECT_EQ(tab.receive(), lost_event);
    EXPECT_EQ(connect_library("wrong")->read_to_end(), "");
    const auto library = connect_library("secret");
    EXPECT_EQ(tab.receive(), connected_event);
    EXPECT_EQ(connect_library("secret")->read_to_end(), "");
    library->close();
    EXPECT_EQ(tab.receive(), lost_event);
    const auto successor = connect_library("secret");
    EXPECT_EQ(tab.receive(), connected_event);
}

TEST_F(RelayServerTest, RefusesALibraryThatFloodsItWithoutAHandshake) {
    LoopbackConnection connection;
    connection.socket().connect(*parse_endpoint(m_server->library_address()));
    connection.send(std::string(65 * 1024, 'x'));
    EXPECT_EQ(connection.read_to_end(), "");
}

TEST_F(RelayServerTest, PassesRequestsAndLongAnswers) {
    const auto library = connect_library("secret");
    BrowserTab tab = open_tab();
    if (tab.receive() == lost_event) {
        EXPECT_EQ(tab.receive(), connected_event);
    }
    tab.send("<msg><request><id>7</id><type>grid:get</type></request></msg>");
    const std::string request = library->read_until("</msg>");
    const std::size_t id_begin = request.find("<id>") + 4;
    const std::string id = request.substr(id_begin, request.find("</id>") - id_begin);
    const std::string back = "</requestId><x>" + std::string(20'000'000, 'x') + "</x></response></msg>";
    library->send("<msg><response><requestId>" + id + back +
                  "\x0B<msg><event><name>e</name></event></msg>\x0B");
    EXPECT_TRUE(tab.receive() == "<msg><response><requestId>7" + back);
    EXPECT_EQ(tab.receive(), "<msg><event><name>e</name></event></msg>");
    tab.connection().close();
    BrowserTab next = open_tab();
    EXPECT_EQ(next.receive(), connected_event);
}

/// A tab that stops reading is dropped before it takes all memory; the others go on.
TEST_F(RelayServerTest, DropsATabThatStopsReading) {
    const auto library = connect_library("secret");
    BrowserTab lazy = open_tab();
    const std::string event =
        "<msg><event><name>e</name><_>" + std::string(90'000'000, 'x') + "</_></event></msg>\x0B";
    for (int sent = 0; sent < 4; ++sent)
        library->send(event);
    // The first event may be on its way, but the socket ends before the fourth.
    EXPECT_LT(lazy.connection().read_to_end().size(), 3 * event.size());
    BrowserTab tab = open_tab();
    EXPECT_EQ(tab.receive(), connected_event);
}

} // namespace
} // namespace panedeck::guiserver
