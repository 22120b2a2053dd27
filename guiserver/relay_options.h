#pragma once

#include <boost/asio/ip/tcp.hpp>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace panedeck::guiserver {

/// What the program is told on its command line.
struct RelayOptions {
    boost::asio::ip::tcp::endpoint http;    ///< port 0 picks one
    boost::asio::ip::tcp::endpoint library; ///< port 0 picks one
    std::filesystem::path web;
    std::string token;
    std::string export_directory; ///< shared with the host, see `DownloadShelf`; empty: no downloads
    bool allow_remote = false;
};

/// The outcome of reading a command line: options, or the exit code with which to end.
struct ParsedCommandLine {
    std::optional<RelayOptions> options;
    int exit_code = 0;
};

/// Reads the command line; help goes to standard output, what is wrong with the usage to standard error (exit
/// code 2). Without `--token` the environment variable `PANEDECK_TOKEN` gives the token; without both a new
/// one is made.
ParsedCommandLine parse_command_line(int argc, const char* const* argv);

/// "127.0.0.1:80" or "[::1]:80"; names are not resolved.
std::optional<boost::asio::ip::tcp::endpoint> parse_endpoint(std::string_view text);

/// The same in the other direction.
std::string endpoint_text(const boost::asio::ip::tcp::endpoint& endpoint);

} // namespace panedeck::guiserver
