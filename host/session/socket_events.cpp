#include "session/socket_events.h"

#include "basekit/variant.h"
#include "logkit/component_logger.h"

#include <string>
#include <string_view>

namespace panedeck::host {

namespace {

/// Senders write a key of an event as a value or as a child's own value.
std::string textOf(const bk2::variant_bag_t& event, std::string_view key) {
    const bk2::variant_t* own = event.get_own_value(key);
    return std::string(own ? own->text() : event.get_variant(key).text());
}

} // namespace

bk2::error_code_t SocketEvents::onRequest(const char* requestId, const char* requestType,
                                          bk2::variant_bag_t& request) {
    m_pace.onMessage();
    return m_scheduler->schedule(requestId, requestType, request);
}

bk2::error_code_t SocketEvents::onEvent(const char* name, bk2::variant_bag_t& event) {
    m_pace.onMessage();
    // Ids are texts; a sender that wrote a number means the same.
    if (std::string_view(name) == "cancelRequest")
        m_scheduler->cancelRequest(bk2::get_value_string(event.get_variant("requestId")));
    if (std::string_view(name) == "setLanguage" && m_languageSwitch)
        m_languageSwitch->switchTo(textOf(event, "language"));
    return bk2::error_code_t::success();
}

// A relay that comes back knows nothing of the requests of the one before it, and may use their ids again.
void SocketEvents::onConnectionLost() {
    m_scheduler->abandonRequests();
    const auto hold = m_pace.onLost(std::chrono::steady_clock::now());
    if (hold.isFirst)
        logkit1::log(logkit1::level_t::error,
                     "The GUI server ended the connection before any message: it wants another token, or has "
                     "a host already. Calling again, with pauses that grow up to 30 s");
    else if (hold.length == hold.length.zero())
        logkit1::log(logkit1::level_t::warning, "Connection to the GUI server lost");
    pause(hold.length);
}

void SocketEvents::pause(std::chrono::milliseconds length) {
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, length, [this] { return !m_pausing; });
}

void SocketEvents::stopPausing() {
    {
        const std::lock_guard lock(m_mutex);
        m_pausing = false;
    }
    m_changed.notify_all();
}

void SocketEvents::onConnected() {
    m_pace.onConnected(std::chrono::steady_clock::now());
    logkit1::log(logkit1::level_t::info, "Connected to the GUI server");
}

} // namespace panedeck::host
