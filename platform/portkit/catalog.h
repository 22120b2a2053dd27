#pragma once

// Needed by whatever shows texts to people: messages by key.

#include "basekit/api.h"
#include "portkit/ustring8.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace portkit2 {

/// The messages of one language under keys such as "%percent". Immutable, so safe from any thread.
class PANEDECK_API catalog_t {
public:
    using messages_t = std::map<std::string, ustring8, std::less<>>;

    catalog_t() = default;
    explicit catalog_t(messages_t messages) : m_messages(std::move(messages)) {}

    /// The message of that key, or "" if there is none.
    ustring8 text(std::string_view key) const;

private:
    messages_t m_messages;
};

} // namespace portkit2
