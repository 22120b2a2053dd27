#include "connection_slots.h"

#include <utility>

namespace panedeck::guiserver {

ConnectionSlots::Slot::Slot(std::shared_ptr<Places> places) : m_places(std::move(places)) {
    m_position = m_places->strangers.insert(m_places->strangers.end(), this);
}

ConnectionSlots::Slot::~Slot() {
    leave(State::ended);
}

void ConnectionSlots::Slot::leave(State next) {
    if (m_state == State::stranger) m_places->strangers.erase(m_position);
    if (m_state == State::guest) --m_places->guests;
    m_state = next;
}

void ConnectionSlots::Slot::admit() {
    if (m_state != State::stranger) return;
    leave(State::guest);
    ++m_places->guests;
}

ConnectionSlots::ConnectionSlots(std::size_t limit) : m_places(std::make_shared<Places>()) {
    m_places->limit = limit;
}

ConnectionSlots::slot_t ConnectionSlots::take() {
    if (m_places->guests + m_places->strangers.size() >= m_places->limit) {
        if (m_places->strangers.empty()) return nullptr;
        Slot& oldest = *m_places->strangers.front();
        oldest.leave(Slot::State::ended);
        if (const auto end = std::exchange(oldest.m_end, nullptr)) end();
    }
    return std::make_shared<Slot>(m_places);
}

} // namespace panedeck::guiserver
