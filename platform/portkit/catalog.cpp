#include "portkit/catalog.h"

namespace portkit2 {

ustring8 catalog_t::text(std::string_view key) const {
    const auto found = m_messages.find(key);
    return found == m_messages.end() ? ustring8() : found->second;
}

} // namespace portkit2
