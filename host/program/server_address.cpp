#include "program/server_address.h"

#include <boost/asio/ip/address.hpp>

#include <charconv>

namespace panedeck::host {

namespace {

std::optional<unsigned short> parsePort(std::string_view text) {
    unsigned short port = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, port);
    if (error != std::errc() || stopped != end || port == 0) return std::nullopt;
    return port;
}

// An IPv6 address stands in brackets, as its own colons would otherwise run into the port.
std::optional<std::string> parseHost(std::string_view text) {
    const bool bracketed = text.size() > 2 && text.front() == '[' && text.back() == ']';
    const std::string host(bracketed ? text.substr(1, text.size() - 2) : text);
    boost::system::error_code error;
    const auto address = boost::asio::ip::make_address(host, error);
    if (error || address.is_v6() != bracketed) return std::nullopt;
    return host;
}

} // namespace

std::optional<server_address_t> parseServerAddress(std::string_view text) {
    const auto colon = text.rfind(':');
    if (colon == std::string_view::npos) return std::nullopt;
    const auto host = parseHost(text.substr(0, colon));
    const auto port = parsePort(text.substr(colon + 1));
    if (!host || !port) return std::nullopt;
    return server_address_t{*host, *port};
}

} // namespace panedeck::host
