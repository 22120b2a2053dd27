#pragma once

#include <string>
#include <string_view>

namespace panedeck::guiserver {

/// Who may talk to the relay. Whoever knows the token is let in; pages of other sites are kept out even if
/// they guess the port, by the `Host` header (against names that were pointed at this machine) and by the
/// `Origin` header of WebSockets. All comparisons with the token take a time that does not depend on how much
/// of it was right.
class AccessRules {
public:
    /// `port` is the HTTP port. `allow_remote`: other addresses than loopback may be named in `Host`.
    AccessRules(std::string token, unsigned short port, bool allow_remote);

    const std::string& token() const { return m_token; }

    bool is_token(std::string_view text) const;

    /// `host` names this relay: "localhost" or a literal address (loopback unless remote ones are allowed),
    /// with its port. No other name is taken, since anybody can point a name anywhere.
    bool is_own_host(std::string_view host) const;

    /// `origin` is the page that this relay serves under `host`, which has passed `is_own_host`.
    bool is_own_origin(std::string_view origin, std::string_view host) const;

    /// The header `Set-Cookie` for the cookie that lets the page's own assets and downloads load. Browsers
    /// send it to every port of the host, so its value is a secret of its own, good for these files and
    /// nothing else; its name holds the port.
    std::string set_cookie() const;
    /// Whether a `Cookie` header holds it.
    bool has_cookie(std::string_view cookie_header) const;

private:
    std::string m_token;
    std::string m_cookie; ///< name and value
    unsigned short m_port;
    bool m_allow_remote;
};

/// A new token: 192 random bits from the operating system as 48 hexadecimal digits.
std::string make_token();

/// Whether a token given by the user can travel in URLs and handshakes: 1 to 256 bytes of UTF-8
/// without control characters.
bool is_valid_token(std::string_view token);

} // namespace panedeck::guiserver
