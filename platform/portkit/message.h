#pragma once

// Needed by whatever shows texts to people: one message, with places for arguments.

#include "basekit/api.h"
#include "portkit/ustring8.h"

#include <optional>
#include <string>
#include <vector>

namespace portkit2 {

/// What takes the places %1, %2, … of a message.
using varg_list = std::vector<ustring8>;

/// A message as it stood in its catalog when it was looked up. Immutable.
class PANEDECK_API message_t {
public:
    /// A message that the catalog does not have.
    explicit message_t(std::string id) : m_id(std::move(id)) {}
    message_t(std::string id, ustring8 text) : m_id(std::move(id)), m_text(std::move(text)) {}

    bool is_nil() const { return !m_text; }

    /// The text with the arguments in their places. A place without an argument stays as it is written. A nil
    /// message gives its id.
    ustring8 as_ustring(const varg_list& arguments = {}) const;

private:
    std::string m_id;
    std::optional<ustring8> m_text;
};

} // namespace portkit2
