#include "dispatch/data_change_scope.h"

#include <utility>

namespace panedeck {

IEventDispatcher::~IEventDispatcher() = default;

DataChangeScope::DataChangeScope(IEventDispatcher* eventDispatcher, bool active)
    : m_eventDispatcher(eventDispatcher), m_active(active) {
    if (!m_active) return;
    send("BeforeDataChangeEvent");
    send("WaitForOtherPanesStopDataRequests");
}

// Implicitly noexcept: an exception out of the send ends the process, since nobody would know what the panes
// believe.
DataChangeScope::~DataChangeScope() {
    if (m_active) send("CancelDataChangeEvent");
}

void DataChangeScope::commit() {
    if (std::exchange(m_active, false)) send("DataChangedEvent");
}

void DataChangeScope::send(const char* name) {
    static_cast<void>(m_eventDispatcher->sendEvent(name, nullptr));
}

} // namespace panedeck
