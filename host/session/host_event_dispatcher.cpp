#include "session/host_event_dispatcher.h"

#include <string>
#include <utility>

namespace panedeck::host {

HostEventDispatcher::HostEventDispatcher(RequestScheduler& scheduler, bk2::sptr_t<ISocketClient> client)
    : m_scheduler(scheduler), m_client(std::move(client)) {}

bk2::error_code_t HostEventDispatcher::sendEvent(const char* name, const bk2::variant_bag_t* payload) {
    if (name) cancelObsolete(name, payload);
    return m_client->sendEvent(name, payload);
}

void HostEventDispatcher::cancelObsolete(const std::string& event, const bk2::variant_bag_t* payload) {
    if (event == "KnobChangedEvent") m_scheduler.onKnobChanged();
    if (event != "FilterChangedEvent" || !payload) return;
    const auto filterName = payload->get_variant("filterName");
    m_scheduler.onFilterChanged(std::string(filterName.text()));
}

} // namespace panedeck::host
