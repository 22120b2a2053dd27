#include "relay_options.h"

#include "access_rules.h"
#include "portkit/terminal_text.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <iostream>
#include <sstream>

namespace panedeck::guiserver {

namespace {

constexpr int bad_usage = 2;

using endpoint_t = boost::asio::ip::tcp::endpoint;

endpoint_t require_endpoint(const std::string& option, const std::string& text, bool allow_remote) {
    const auto endpoint = parse_endpoint(text);
    if (!endpoint) throw CLI::ValidationError(option, "\"" + text + "\" is no ADDRESS:PORT");
    if (!endpoint->address().is_loopback() && !allow_remote)
        throw CLI::ValidationError(option,
                                   text + " can be reached from other machines, which takes --allow-remote");
    return *endpoint;
}

/// Prints help or what is wrong with the usage; gives the exit code.
int report(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream complaint;
    const bool is_help = app.exit(error, std::cout, complaint) == 0;
    std::cerr << portkit2::terminal_text(complaint.str(), portkit2::line_breaks_t::kept);
    return is_help ? 0 : bad_usage;
}

} // namespace

std::optional<endpoint_t> parse_endpoint(std::string_view text) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos) return std::nullopt;
    std::string_view host = text.substr(0, colon);
    const bool has_brackets = host.starts_with('[') && host.ends_with(']');
    if (has_brackets) host = host.substr(1, host.size() - 2);
    boost::system::error_code error;
    const auto address = boost::asio::ip::make_address(std::string(host), error);
    if (error || address.is_v6() != has_brackets) return std::nullopt;
    unsigned short port = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + colon + 1, end, port);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return endpoint_t(address, port);
}

std::string endpoint_text(const endpoint_t& endpoint) {
    const std::string address = endpoint.address().to_string();
    const std::string host = endpoint.address().is_v6() ? "[" + address + "]" : address;
    return host + ":" + std::to_string(endpoint.port());
}

ParsedCommandLine parse_command_line(int argc, const char* const* argv) {
    CLI::App app("Relays between the panes in a browser and the profiler's library.", "panedeck-guiserver");
    RelayOptions options;
    std::string http;
    std::string library;
    app.add_option("--http", http, "where browsers connect, ADDRESS:PORT; port 0 picks one")->required();
    app.add_option("--library", library, "where the library connects, ADDRESS:PORT; port 0 picks one")
        ->required();
    app.add_option("--web", options.web, "folder with the page's files")->required();
    auto* token =
        app.add_option("--token", options.token, "secret of browsers and library; made if not given");
    // Other users of the machine can read arguments, but not the environment.
    token->envname("PANEDECK_TOKEN");
    app.add_option("--export-dir", options.export_directory,
                   "folder of this user alone, into which the host exports for downloads");
    app.add_flag("--allow-remote", options.allow_remote, "allow addresses that other machines can reach");
    try {
        app.parse(argc, argv);
        options.http = require_endpoint("--http", http, options.allow_remote);
        options.library = require_endpoint("--library", library, options.allow_remote);
        if (token->count() == 0) options.token = make_token();
        if (!is_valid_token(options.token))
            throw CLI::ValidationError("--token", "1 to 256 bytes of UTF-8 without control characters");
    } catch (const CLI::ParseError& error) {
        return {std::nullopt, report(app, error)};
    }
    return {options, 0};
}

} // namespace panedeck::guiserver
