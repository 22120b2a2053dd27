#pragma once

#include <cstddef>
#include <memory>

namespace panedeck::guiserver {

/// Limits how many connections of one sort there are at a time. A connection holds a slot for as long as it
/// lives.
class ConnectionSlots {
public:
    using slot_t = std::shared_ptr<void>;

    explicit ConnectionSlots(std::size_t limit) : m_limit(limit), m_marker(std::make_shared<int>(0)) {}

    /// Null if all are taken. Belongs to one thread.
    slot_t take() const {
        if (static_cast<std::size_t>(m_marker.use_count()) > m_limit) return nullptr;
        return m_marker;
    }

private:
    std::size_t m_limit;
    slot_t m_marker; ///< held once by this object and once by each slot
};

} // namespace panedeck::guiserver
