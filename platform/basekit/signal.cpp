#include "basekit/signal.h"

#include <algorithm>
#include <utility>

namespace bk2 {

connection_base_t::~connection_base_t() = default;

void connection_base_t::disconnect() {
    std::lock_guard lock(m_mutex);
    m_connected = false;
}

subscriber_base_t::~subscriber_base_t() {
    disconnect_all();
}

void subscriber_base_t::disconnect_all() {
    std::vector<std::weak_ptr<connection_base_t>> connections;
    {
        std::lock_guard lock(m_mutex);
        connections.swap(m_connections);
    }
    for (const auto& connection : connections)
        if (auto alive = connection.lock()) alive->disconnect();
}

void subscriber_base_t::remember(const std::shared_ptr<connection_base_t>& connection) {
    std::lock_guard lock(m_mutex);
    // Forgetting the links of dead signals only when the list has doubled keeps this O(1) on average.
    if (m_connections.size() >= m_prune_at) {
        std::erase_if(m_connections, [](const auto& known) { return known.expired(); });
        m_prune_at = std::max<std::size_t>(16, 2 * m_connections.size());
    }
    m_connections.push_back(connection);
}

} // namespace bk2
