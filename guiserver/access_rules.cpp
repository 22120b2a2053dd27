#include "access_rules.h"

#include "basekit/random_text.h"
#include "portkit/ustring8.h"

#include <boost/asio/ip/address.hpp>

#include <algorithm>
#include <optional>
#include <utility>

namespace panedeck::guiserver {

namespace {

constexpr std::size_t longest_token = 256;
constexpr unsigned secret_bytes = 24;

bool equal_in_constant_time(std::string_view a, std::string_view secret) {
    std::size_t difference = a.size() ^ secret.size();
    for (std::size_t index = 0; index < a.size(); ++index)
        difference |=
            static_cast<unsigned char>(a[index] ^ secret[secret.empty() ? 0 : index % secret.size()]);
    return difference == 0;
}

/// Splits "host:port"; without a port it is that of HTTP.
std::pair<std::string_view, std::string_view> split_authority(std::string_view authority) {
    const std::size_t colon = authority.rfind(':');
    const std::size_t bracket = authority.rfind(']');
    const bool has_port =
        colon != std::string_view::npos && (bracket == std::string_view::npos || colon > bracket);
    if (!has_port) return {authority, "80"};
    return {authority.substr(0, colon), authority.substr(colon + 1)};
}

std::optional<boost::asio::ip::address> parse_host_address(std::string_view host) {
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    boost::system::error_code error;
    const auto address = boost::asio::ip::make_address(std::string(host), error);
    if (error) return std::nullopt;
    return address;
}

} // namespace

AccessRules::AccessRules(std::string token, unsigned short port, bool allow_remote)
    : m_token(std::move(token)),
      m_cookie("panedeck-" + std::to_string(port) + "=" + bk2::random_hex_digits(secret_bytes)), m_port(port),
      m_allow_remote(allow_remote) {}

bool AccessRules::is_token(std::string_view text) const {
    return !m_token.empty() && equal_in_constant_time(text, m_token);
}

bool AccessRules::is_own_host(std::string_view host) const {
    const auto [name, port] = split_authority(host);
    if (port != std::to_string(m_port)) return false;
    if (portkit2::lower_case(name) == "localhost") return true;
    const auto address = parse_host_address(name);
    return address && (m_allow_remote || address->is_loopback());
}

bool AccessRules::is_own_origin(std::string_view origin, std::string_view host) const {
    return !host.empty() && origin == "http://" + std::string(host);
}

std::string AccessRules::set_cookie() const {
    return m_cookie + "; Path=/; HttpOnly; SameSite=Strict";
}

bool AccessRules::has_cookie(std::string_view cookie_header) const {
    bool found = false;
    while (!cookie_header.empty()) {
        const std::size_t end = std::min(cookie_header.find(';'), cookie_header.size());
        std::string_view each = cookie_header.substr(0, end);
        while (each.starts_with(' '))
            each.remove_prefix(1);
        found |= equal_in_constant_time(each, m_cookie);
        cookie_header.remove_prefix(std::min(end + 1, cookie_header.size()));
    }
    return found;
}

std::string make_token() {
    return bk2::random_hex_digits(secret_bytes);
}

bool is_valid_token(std::string_view token) {
    const auto is_control = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    return !token.empty() && token.size() <= longest_token && portkit2::is_valid_utf8(token) &&
           std::none_of(token.begin(), token.end(), is_control);
}

} // namespace panedeck::guiserver
