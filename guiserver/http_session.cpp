#include "http_session.h"

#include "static_files.h"
#include "tab_connection.h"
#include "url.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/file_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <optional>
#include <string>
#include <utility>

namespace panedeck::guiserver {

namespace {

namespace beast = boost::beast;
namespace http = beast::http;
using boost_error = boost::system::error_code;

constexpr std::uint32_t longest_header = 16 * 1024;

class HttpSession final : public std::enable_shared_from_this<HttpSession> {
public:
    HttpSession(boost::asio::ip::tcp::socket socket, const HttpService& service, ConnectionSlots::slot_t slot)
        : m_stream(std::move(socket)), m_service(service), m_slot(std::move(slot)) {}

    void start() {
        m_slot->set_end([weak = weak_from_this()] {
            if (const auto self = weak.lock()) self->m_stream.close();
        });
        read();
    }

private:
    struct Access {
        bool by_query;
        bool by_cookie;
    };

    /// An answer on its way out.
    template <class Body>
    struct Outgoing {
        http::response<Body> message;
        std::optional<http::response_serializer<Body>>
            serializer;                            ///< looks at the whole message from its start
        std::shared_ptr<DownloadShelf::Loan> loan; ///< of the file that it sends, if that is a download
    };

    void read() {
        m_own_host.clear();
        m_parser.emplace();
        m_parser->header_limit(longest_header);
        set_deadline();
        http::async_read_header(
            m_stream, m_buffer, *m_parser,
            [self = shared_from_this()](const boost_error& error, std::size_t) { self->handle_read(error); });
    }

    void set_deadline() {
        const RelayLimits& limits = m_service.limits;
        m_stream.expires_after(m_slot->is_admitted() ? limits.patience : limits.stranger_patience);
    }

    void handle_read(const boost_error& error) {
        if (error == http::error::end_of_stream) return close();
        if (error && !is_fault_of_request(error)) return;
        const bool has_body = !error && !m_parser->is_done();
        m_request = m_parser->release();
        if (error || has_body)
            return refuse(http::status::bad_request, "This is no request that is understood here.");
        handle_request();
    }

    static bool is_fault_of_request(const boost_error& error) {
        return error.category() == boost_error(http::error::end_of_stream).category();
    }

    void handle_request() {
        if (!m_service.rules.is_own_host(header(http::field::host)))
            return refuse(http::status::forbidden, "This server does not go by that name.");
        m_own_host = header(http::field::host);
        const auto target = parse_target({m_request.target().data(), m_request.target().size()});
        if (!target) return refuse(http::status::bad_request, "The address is malformed.");
        if (target->path == "/ws") return handle_upgrade(*target);
        handle_file(*target);
    }

    void handle_upgrade(const Target& target) {
        if (!access(target).by_query) return refuse_without_token();
        if (!m_service.rules.is_own_origin(header(http::field::origin), m_own_host))
            return refuse(http::status::forbidden, "Only the page of this server may connect here.");
        if (!beast::websocket::is_upgrade(m_request))
            return refuse(http::status::upgrade_required, "A WebSocket is spoken here.");
        auto slot = m_service.tab_slots.take();
        if (!slot) return refuse(http::status::service_unavailable, "Too many tabs are open.");
        slot->admit();
        serve_tab(std::move(m_stream), std::move(m_request), m_service.relay, std::move(slot),
                  m_service.rules.set_cookie());
    }

    void handle_file(const Target& target) {
        if (m_request.method() != http::verb::get && m_request.method() != http::verb::head)
            return refuse(http::status::method_not_allowed, "Files can only be read.");
        const bool is_page = target.path == "/" || target.path == "/index.html";
        const Access granted = access(target);
        if (!granted.by_query && (is_page || !granted.by_cookie)) return refuse_without_token();
        m_slot->admit();
        if (const auto download = parse_download_path(target.path)) return send_download(*download);
        const auto file = find_static_file(m_service.web_root, target.path);
        if (!file) return refuse(http::status::not_found, "There is no such file.");
        send_page_file(*file, is_page);
    }

    Access access(const Target& target) const {
        const auto token = query_parameter(target.query, "token");
        return {token && m_service.rules.is_token(*token),
                m_service.rules.has_cookie(header(http::field::cookie))};
    }

    void send_page_file(const std::filesystem::path& file, bool is_page) {
        http::file_body::value_type body;
        boost_error error;
        body.open(file.c_str(), beast::file_mode::scan, error);
        if (error) return refuse(http::status::not_found, "The file cannot be read.");
        http::fields headers;
        headers.set(http::field::content_type, content_type(file));
        if (is_page) headers.set(http::field::set_cookie, m_service.rules.set_cookie());
        if (is_page) headers.set(http::field::cache_control, "no-store");
        send_file(std::move(body), headers, nullptr);
    }

    void send_download(const DownloadPath& path) {
        auto loan = m_service.downloads.lend(path.id);
        if (!loan) return refuse(http::status::not_found, "There is no such export, or not any more.");
        beast::file file;
        file.native_handle(loan->take_descriptor());
        http::file_body::value_type body;
        boost_error error;
        body.reset(std::move(file), error);
        if (error) return refuse(http::status::not_found, "The export cannot be read.");
        http::fields headers;
        headers.set(http::field::content_type, "text/csv; charset=utf-8");
        headers.set(http::field::content_disposition, attachment_header(path.file_name));
        headers.set(http::field::cache_control, "no-store");
        send_file(std::move(body), headers, std::move(loan));
    }

    void send_file(http::file_body::value_type body, const http::fields& headers,
                   std::shared_ptr<DownloadShelf::Loan> loan) {
        const std::uint64_t size = body.size();
        if (m_request.method() == http::verb::head) {
            auto response = make_response<http::empty_body>(http::status::ok, headers);
            response->message.content_length(size);
            return send(response);
        }
        auto response = make_response<http::file_body>(http::status::ok, headers);
        response->message.body() = std::move(body);
        response->message.content_length(size);
        response->loan = std::move(loan);
        send(response);
    }

    void refuse_without_token() {
        refuse(http::status::forbidden, "The address needs the token that the relay printed.");
    }

    void refuse(http::status status, const char* text) {
        http::fields headers;
        headers.set(http::field::content_type, "text/plain; charset=utf-8");
        auto response = make_response<http::string_body>(status, headers);
        response->message.keep_alive(false);
        if (m_request.method() != http::verb::head) response->message.body() = std::string(text) + "\n";
        response->message.prepare_payload();
        send(response);
    }

    template <class Body>
    std::shared_ptr<Outgoing<Body>> make_response(http::status status, const http::fields& headers) {
        auto response = std::make_shared<Outgoing<Body>>();
        auto& message = response->message;
        message.result(status);
        message.keep_alive(m_request.keep_alive());
        message.set(http::field::cache_control, "no-cache");
        message.set("Content-Security-Policy", security_policy());
        message.set("X-Content-Type-Options", "nosniff");
        message.set("Referrer-Policy", "no-referrer");
        message.set("Cross-Origin-Opener-Policy", "same-origin");
        message.set("Cross-Origin-Resource-Policy", "same-origin");
        for (const auto& header : headers)
            message.set(header.name(), header.value());
        return response;
    }

    /// The page's own scripts, styles, pictures and WebSocket, nothing else, and nothing that stands in the
    /// page itself.
    std::string security_policy() const {
        return "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'" +
               (m_own_host.empty() ? "" : " ws://" + m_own_host) +
               "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
    }

    std::string_view header(http::field field) const {
        const auto value = m_request[field];
        return {value.data(), value.size()};
    }

    template <class Body>
    void send(const std::shared_ptr<Outgoing<Body>>& response) {
        response->serializer.emplace(response->message);
        write(response);
    }

    /// Piece by piece, so that a slow reader has its time for each.
    template <class Body>
    void write(const std::shared_ptr<Outgoing<Body>>& response) {
        set_deadline();
        http::async_write_some(m_stream, *response->serializer,
                               [self = shared_from_this(), response](const boost_error& error, std::size_t) {
                                   self->handle_write(response, error);
                               });
    }

    template <class Body>
    void handle_write(const std::shared_ptr<Outgoing<Body>>& response, const boost_error& error) {
        if (error) return close();
        if (!response->serializer->is_done()) return write(response);
        if (response->loan) response->loan->finish();
        if (response->message.keep_alive()) return read();
        close();
    }

    void close() {
        boost_error ignored;
        m_stream.socket().shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
    }

    beast::tcp_stream m_stream;
    const HttpService& m_service;
    ConnectionSlots::slot_t m_slot;
    beast::flat_buffer m_buffer;
    std::optional<http::request_parser<http::empty_body>> m_parser;
    http::request<http::empty_body> m_request;
    std::string m_own_host; ///< the request's `Host`, once it was found to be this server's
};

} // namespace

void serve_http(boost::asio::ip::tcp::socket socket, const HttpService& service,
                ConnectionSlots::slot_t slot) {
    std::make_shared<HttpSession>(std::move(socket), service, std::move(slot))->start();
}

} // namespace panedeck::guiserver
