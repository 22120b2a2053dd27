#pragma once

#include "scheduler/request_scheduler.h"
#include "session/language_switch.h"
#include "transport/isocket_event_handler.h"

namespace panedeck::host {

/// What the GUI server sends, handed to the scheduler. Only queues work, as the I/O thread demands.
class SocketEvents : public ISocketEventHandler {
public:
    /// Names the scheduler, which comes to life after the client that this object is made for. To be called
    /// before the client connects; `scheduler` outlives the connection.
    void setScheduler(RequestScheduler& scheduler) { m_scheduler = &scheduler; }

    /// The same for the switch of the language; without one nothing comes of that event.
    void setLanguageSwitch(LanguageSwitch& languageSwitch) { m_languageSwitch = &languageSwitch; }

    bk2::error_code_t onRequest(const char* requestId, const char* requestType,
                                bk2::variant_bag_t& request) override;
    /// "cancelRequest" with `requestId` cancels that request, "setLanguage" with `language` switches to it;
    /// events that the host has no use for are ignored.
    bk2::error_code_t onEvent(const char* name, bk2::variant_bag_t& event) override;
    void onConnectionLost() override;
    void onConnected() override;

private:
    RequestScheduler* m_scheduler = nullptr;
    LanguageSwitch* m_languageSwitch = nullptr;
};

} // namespace panedeck::host
